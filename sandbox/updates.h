#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/object_tree.h"
#include "sandbox/activity.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Changes the properties of objects for clients that know the current version.
class Updates {
 public:
  // Refuses the first updates, as many as conflicts says, as if somebody else had just been faster. Tree and
  // activity must outlive it.
  Updates(Tree& tree, Activity& activity, std::uint32_t conflicts)
      : tree_(tree), activity_(activity), conflictsLeft_(conflicts) {}

  // Moves the new values in, all of them or none, and returns the object's new version. An Action is counted
  // and does nothing else. Throws Refusal, with a text for each property that cannot be changed so.
  std::string apply(protocol::UpdateReq& request);

 private:
  void checkVersion(ObjectIndex object, const std::string& version);
  void change(ObjectIndex object, protocol::Property& change);

  Tree& tree_;
  Activity& activity_;
  std::uint32_t conflictsLeft_;
};

}  // namespace morvex::sandbox
