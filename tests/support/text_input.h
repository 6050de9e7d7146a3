#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "foundation/input.h"

// Delivers a text in pieces of at most this size.
class TextInput final : public LineReader {
 public:
  explicit TextInput(std::string text, std::size_t piece = 4096) : text_(std::move(text)), piece_(piece) {}

  std::size_t consumed() const { return at_; }

 private:
  std::size_t read(std::span<char> block) override {
    const std::size_t count = text_.copy(block.data(), std::min(block.size(), piece_), at_);
    at_ += count;
    return count;
  }

  std::string text_;
  std::size_t piece_;
  std::size_t at_ = 0;
};
