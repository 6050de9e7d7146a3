#pragma once

#include <string_view>

// Reports a defect of this program, a state that no input can bring about: prints
// "Assertion failed: " and the message on standard error, and aborts.
[[noreturn]] void assertionFailed(std::string_view message);

inline void assertThat(bool condition, std::string_view message) {
  if (!condition) [[unlikely]] {
    assertionFailed(message);
  }
}
