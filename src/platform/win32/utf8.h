#pragma once

#include <string>
#include <string_view>

namespace morvex {

// Text that travels in UTF-8, to and from the form in which this system has all texts. What is no valid text
// in one form becomes U+FFFD in the other.
std::wstring wideFromUtf8(std::string_view text);
std::string utf8FromWide(std::wstring_view text);

}  // namespace morvex
