#pragma once

#include <cstdint>
#include <vector>

#include "sandbox/pattern.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// One object of an answer. Those below it follow, one deeper.
struct Match {
  ObjectIndex object;
  std::uint32_t depth;
  Pattern::Steps steps;  // that put it in the answer
};

// Matches a pattern from the start objects down and returns what is in the answer, parents ahead of their
// children. The answer is one tree however many ways lead to an object: each stands in it once. Throws
// Refusal if nothing matched.
std::vector<Match> select(const Tree& tree, Pattern& pattern, const std::vector<ObjectIndex>& start);

}  // namespace morvex::sandbox
