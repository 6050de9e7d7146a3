#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sandbox/answer.h"
#include "sandbox/pattern.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Matches a pattern from the start objects down, which is the work ahead of the first portion, and answers
// with a SelectResp of what matched, parents ahead of their children. The answer is one tree however many
// ways lead to an object: each stands in it once. Objects are matched and written as they are when their turn
// comes; the tree must outlive the answer, which is a Refusal if nothing matched.
std::unique_ptr<Answer> select(std::int32_t requestId, const Tree& tree, Pattern pattern,
                               std::vector<ObjectIndex> start);

}  // namespace morvex::sandbox
