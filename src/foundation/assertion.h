#pragma once

#include <string_view>

namespace morvex {

// Reports a defect of this program, which no input can cause: prints "Assertion failed: " and the message on
// standard error, and aborts.
[[noreturn]] void assertionFailed(std::string_view message);

// Writes the text to standard error. A program with buffered output sets a function that flushes it first.
extern void (*g_reportAssertion)(std::string_view text) noexcept;

inline void assertThat(bool condition, std::string_view message) {
  if (!condition) [[unlikely]] {
    assertionFailed(message);
  }
}

}  // namespace morvex
