#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/object_tree.h"
#include "sandbox/activity.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Changes the properties of an object for a client that knows its current version, and returns the new
// version. The new values are moved in, all of them or none. An Action is counted and does nothing else.
// While conflictsLeft is above 0, counts it down and refuses the update as if somebody else had just been
// faster. Throws Refusal, with a text for each property that cannot be changed so.
std::string applyUpdate(Tree& tree, Activity& activity, std::uint32_t& conflictsLeft,
                        protocol::UpdateReq& request);

}  // namespace morvex::sandbox
