#pragma once

#include <string>

#include "protocol/messages/object_tree.h"

namespace morvex {

// The types of properties as texts.

// The value of a property, whatever its type. Throws errors::tql for a value that does not fit the type word.
std::string propertyText(const protocol::Property& property);

// The name of its type, with the first of its flags.
std::string propertyTypeText(const protocol::Property& property);

// Fills changed from the text that a user gave for a property, by the type of its current copy. True if its
// value text differs from the current one. A type without a text form is reported on standard output, and
// changed is left alone. Throws error::EParseError for a text that does not convert, error::EFatal for an
// Action with another text than "action", and what propertyText throws.
bool parsePropertyValue(const protocol::Property& current, protocol::Property& changed,
                        const std::string& text);

}  // namespace morvex
