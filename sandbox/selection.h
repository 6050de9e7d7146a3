#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sandbox/answer.h"
#include "sandbox/pattern.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Matches a pattern from the start objects down and returns a SelectResp with what matched, parents ahead of
// their children. The answer is one tree however many ways lead to an object: each stands in it once. Objects
// are written as they are when their turn comes; the tree must outlive the answer. Throws Refusal if nothing
// matched.
std::unique_ptr<Answer> select(std::int32_t requestId, const Tree& tree, Pattern pattern,
                               const std::vector<ObjectIndex>& start);

}  // namespace morvex::sandbox
