#pragma once

#include <string>
#include <string_view>

#include "platform/output.h"
#include "support/text_of.h"

namespace morvex {

// Keeps the printed text.
class TextOutput final : public Output {
 public:
  const std::string& text() { return flush(), text_; }

 private:
  void drain(std::string_view block) override { text_ += block; }

  std::string text_;
};

}  // namespace morvex
