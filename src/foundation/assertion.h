#pragma once

#include <string_view>

namespace morvex {

// Reports a defect of this program, a state that no input can bring about: prints
// "Assertion failed: " and the message on standard error, and aborts.
[[noreturn]] void assertionFailed(std::string_view message);

// Writes that text to standard error. A program whose output is buffered sets a function that writes the
// buffer first.
extern void (*g_reportAssertion)(std::string_view text) noexcept;

inline void assertThat(bool condition, std::string_view message) {
  if (!condition) [[unlikely]] {
    assertionFailed(message);
  }
}

}  // namespace morvex
