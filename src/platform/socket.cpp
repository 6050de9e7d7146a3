#include "platform/socket.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace morvex {
namespace {

using Text = std::array<char, 256>;

}  // namespace

const char* socket_error_text(unsigned code) {
  static Text text;
  platform_error_text(code, text.data(), text.size());
  std::size_t length = std::strlen(text.data());
  while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
    text[--length] = '\0';
  }
  if (length == 0) {
    std::snprintf(text.data(), text.size(), "%u", code);
  }
  return text.data();
}

const char* socket_format(const char* format, ...) {
  static std::array<Text, 2> texts;
  static std::size_t next = 0;
  Text& text = texts[next];
  next = 1 - next;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  return text.data();
}

}  // namespace morvex
