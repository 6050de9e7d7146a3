#pragma once

#include <cstdint>
#include <memory>

#include "protocol/messages/object_tree.h"
#include "sandbox/activity.h"
#include "sandbox/answer.h"
#include "sandbox/metrics.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Serves calls of the server's methods: 1 gives the tree of its metrics, 2 the value of one, 3 its
// description. Throws Refusal for what cannot be served.
class Calls {
 public:
  // Both must outlive it and its answers. many is how many counters there are beside the usual metrics.
  Calls(const Tree& tree, const Activity& activity, std::uint32_t many) : metrics_(tree, activity, many) {}

  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::CallReq& request) const;

 private:
  Metrics metrics_;
};

}  // namespace morvex::sandbox
