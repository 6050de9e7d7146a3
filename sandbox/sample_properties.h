#pragma once

#include <cstddef>
#include <string>

#include "sandbox/tree.h"

namespace morvex::sandbox {

// What every object has: the name among its siblings, and a label.
PropertyList named(const std::string& siblingName, const std::string& longLabel);

// Adds one property of every type, as enumerations too, with all kinds of flags; and a null of every type.
void addEveryType(PropertyList& properties);

// Adds a LOB of so many bytes, and a list of each type with so many elements.
void addLargeValues(PropertyList& properties, std::size_t lobBytes, std::size_t listLength);

}  // namespace morvex::sandbox
