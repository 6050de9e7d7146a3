#pragma once

#include <memory>
#include <string>

#include "protocol/messages/object_tree.h"

// A TQL expression names a set of objects by a chain of steps, each with a class, modifiers, a number, wanted
// properties and a filter. The client only translates it; the server does the matching.
//   expression := step
//   step       := class { modifier } [ "=" digits ] [ properties ] [ filter ] [ ">" following ]
//   following  := step | "(" step { "|" step } [ ":" step { "|" step } ] ")"
namespace morvex::tql {

// Chains of steps and nested groups of any length cost no stack.
// Throws error::EParseError, or error::ERange for a number beyond 64 bits, with ": parsing " and the
// expression at the end of the text.
std::unique_ptr<protocol::PathPattern> parse(const std::string& expression);

}  // namespace morvex::tql
