#pragma once

#include <string>
#include <string_view>

namespace morvex {

// UTF-8, in which texts travel, to and from the system's UTF-16. Invalid parts become U+FFFD.
std::wstring wideFromUtf8(std::string_view text);
std::string utf8FromWide(std::wstring_view text);

}  // namespace morvex
