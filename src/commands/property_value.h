#pragma once

#include <string>

#include "protocol/messages/object_tree.h"

namespace morvex {

// Fills changed from the text that a user gave for a property, by the type of its current copy. True if its
// value text differs from the current one. A type without a text form is reported on standard output, and
// changed is left alone. Throws error::EParseError for a text that does not convert, error::EFatal for an
// Action with another text than "action", and what propertyText throws.
bool parsePropertyValue(const protocol::Property& current, protocol::Property& changed,
                        const std::string& text);

}  // namespace morvex
