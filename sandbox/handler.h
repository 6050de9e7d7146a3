#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "protocol/messages/envelope.h"
#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/calls.h"
#include "sandbox/data_requests.h"
#include "sandbox/kept_answers.h"
#include "sandbox/options.h"
#include "sandbox/tree.h"
#include "sandbox/updates.h"

namespace morvex::sandbox {

// Serves the requests of all clients. What it cannot serve it refuses with an error code.
class Handler {
 public:
  // Tree, activity and options must outlive the handler and its answers.
  Handler(Tree& tree, Activity& activity, const Options& options)
      : tree_(tree),
        activity_(activity),
        data_(tree, activity, options),
        updates_(tree, activity, options.conflicts),
        calls_(tree, activity, options.metrics),
        kept_(std::size_t{options.keep} << 20U) {}

  // The answer, for a client with that tag set. Takes from the request what it has to keep.
  std::unique_ptr<Answer> answer(protocol::Request& request, bool legacy);

  // The object from which clients start.
  std::string rootId() const { return tree_.id(Tree::kRoot); }

 private:
  std::unique_ptr<Answer> serve(protocol::Request& request, RequestKind kind, bool legacy);
  std::unique_ptr<Answer> serveAnew(protocol::Request& request, RequestKind kind);
  std::unique_ptr<Answer> select(std::int32_t requestId, protocol::SelectReq& request) const;
  std::unique_ptr<Answer> update(std::int32_t requestId, protocol::UpdateReq& request);

  const Tree& tree_;
  Activity& activity_;
  DataRequests data_;
  Updates updates_;
  Calls calls_;
  KeptAnswers kept_;
};

}  // namespace morvex::sandbox
