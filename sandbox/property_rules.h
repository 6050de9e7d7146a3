#pragma once

#include <optional>
#include <string>

#include "sandbox/refusal.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Why a change of a property cannot be made. The text names the property.
struct Fault {
  ErrorCode code;
  std::string text;
};

// What speaks against giving a property of an object the value in change; empty if nothing does.
std::optional<Fault> faultIn(const Tree& tree, ObjectIndex object, const protocol::Property& change);

}  // namespace morvex::sandbox
