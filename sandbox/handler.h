#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "protocol/messages/envelope.h"
#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/data_requests.h"
#include "sandbox/kept_answers.h"
#include "sandbox/metrics.h"
#include "sandbox/options.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Serves the requests of all clients, and refuses those that it cannot serve with an error code.
class Handler {
 public:
  // Tree, activity and options must outlive the handler and its answers.
  Handler(Tree& tree, Activity& activity, const Options& options)
      : tree_(tree),
        activity_(activity),
        data_(tree, activity, options),
        conflictsLeft_(options.conflicts),
        metrics_(tree, activity, options.metrics),
        kept_(std::size_t{options.keep} << 20U) {}

  static RequestKind kindOf(const protocol::Request& request);

  // The answer, for a client with that tag set. Moves from the request what it keeps.
  std::unique_ptr<Answer> answer(protocol::Request& request, bool legacy);

  // The object from which clients start.
  std::string rootId() const { return tree_.id(Tree::kRoot); }

 private:
  std::unique_ptr<Answer> serve(protocol::Request& request, RequestKind kind, bool legacy);
  std::unique_ptr<Answer> serveAnew(protocol::Request& request, RequestKind kind);
  std::unique_ptr<Answer> select(std::int32_t requestId, protocol::SelectReq& request) const;

  Tree& tree_;
  Activity& activity_;
  DataRequests data_;
  std::uint32_t conflictsLeft_;
  Metrics metrics_;
  KeptAnswers kept_;
};

}  // namespace morvex::sandbox
