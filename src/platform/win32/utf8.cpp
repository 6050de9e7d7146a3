#include "platform/win32/utf8.h"

#include <windows.h>

namespace morvex {

std::wstring wideFromUtf8(std::string_view text) {
  const auto size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never longer than the bytes
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()))));
  return wide;
}

std::string utf8FromWide(std::wstring_view text) {
  constexpr std::size_t kLongest = 3;  // bytes of a unit; a pair of units takes four
  const auto size = static_cast<int>(text.size());
  std::string narrow(kLongest * text.size(), '\0');
  narrow.resize(static_cast<std::size_t>(WideCharToMultiByte(
      CP_UTF8, 0, text.data(), size, narrow.data(), static_cast<int>(narrow.size()), nullptr, nullptr)));
  return narrow;
}

}  // namespace morvex
