#pragma once

#include <cstdint>
#include <memory>

#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/series.h"
#include "sandbox/stored_series.h"

namespace morvex::sandbox {

// A GetDataResp with the entries of a series that overlap a span: its own, which are made as they are
// written, and the stored ones among them.
class DataAnswer final : public Answer {
 public:
  // stored may be null. activity must outlive the answer.
  DataAnswer(std::int32_t requestId, const Series& series, std::shared_ptr<const StoredSeries> stored,
             std::int64_t start, std::int64_t end, Activity& activity);
  bool writePortion(protocol::BasicIo& io, bool legacy) override;

 private:
  const protocol::BerValue* next();
  bool hasOwn();
  const protocol::BerValue* takeOwn();

  std::int32_t requestId_;
  Series series_;
  std::shared_ptr<const StoredSeries> stored_;
  std::int64_t start_;
  Series::Range ownRange_;  // what is still to be written
  StoredSeries::Range storedRange_{0, 0};
  Activity& activity_;
  bool opened_ = false;
  bool made_ = false;
  protocol::DataInterval own_;  // the first entry of ownRange_, once it is made
};

}  // namespace morvex::sandbox
