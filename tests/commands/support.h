#pragma once

#include <string>
#include <string_view>

#include "foundation/output.h"

// Keeps what is printed.
class TextOutput final : public Output {
 public:
  const std::string& text() { return flush(), text_; }

 private:
  void drain(std::string_view block) override { text_ += block; }

  std::string text_;
};

// What the E says that the action throws.
template <class E, class Action>
std::string textOf(Action action) {
  try {
    action();
  } catch (const E& failure) {
    return failure.text();
  }
  return "nothing was thrown";
}
