#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "protocol/messages/object_tree.h"

namespace morvex::tql {

// Gives a property the value of a constant that is one token: a string, a number or a word. The form of the
// constant decides the type. Throws error::EParseError for a token that is no constant, and for a number
// beyond what a message can carry; error::ERange for one beyond 64 bits where no more are wanted.
void encodeConstant(protocol::Property& property, const std::string& name, const std::string& token);

// The value of decimal digits, modulo 2 to the power 32.
std::uint32_t wrapDigits(std::string_view digits);

}  // namespace morvex::tql
