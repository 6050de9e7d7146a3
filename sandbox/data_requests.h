#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "protocol/messages/time_series.h"
#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/options.h"
#include "sandbox/series.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Serves the requests that read and write series. Throws Refusal for those that it cannot serve.
class DataRequests {
 public:
  // All must outlive it and its answers.
  DataRequests(const Tree& tree, Activity& activity, const Options& options)
      : tree_(tree), activity_(activity), options_(options) {}

  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::GetDataReq& request) const;
  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::GetLastDataReq& request) const;
  // Takes the entries out of the request. Either all of them are stored or none.
  std::unique_ptr<Answer> serve(std::int32_t requestId, protocol::PutDataReq& request);

 private:
  // Null if nothing is stored. Later requests leave it as it is.
  std::shared_ptr<const StoredSeries> storedOf(ObjectIndex object) const;
  SeriesPlan planOf(ObjectIndex object, const std::string& tableName) const;

  const Tree& tree_;
  Activity& activity_;
  const Options& options_;
  std::map<ObjectIndex, std::shared_ptr<StoredSeries>> stored_;
};

}  // namespace morvex::sandbox
