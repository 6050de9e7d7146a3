#pragma once

#include "sandbox/options.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// The tree that every run starts with: the sample objects, whose ids never depend on the options, and behind
// them the objects that the options ask for.
Tree makeSampleTree(const Options& options);

}  // namespace morvex::sandbox
