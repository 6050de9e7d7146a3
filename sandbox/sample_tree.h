#pragma once

#include <cstdint>

#include "sandbox/tree.h"

namespace sandbox {

// The tree that every run starts with: the sample objects, whose ids never depend on the arguments; behind
// them the node "scale" with so many rows for each of its series, unless that is 0, and so many nodes below
// the domain "generated".
Tree makeSampleTree(std::uint32_t nodes, std::uint32_t rows);

}  // namespace sandbox
