#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "platform/input.h"

namespace morvex {

// Delivers a text in pieces of at most this size.
struct TextInput final : LineReader {
  explicit TextInput(std::string content, std::size_t size = 4096) : text(std::move(content)), piece(size) {}
  std::size_t read(std::span<char> block) override {
    const std::size_t count = text.copy(block.data(), std::min(block.size(), piece), consumed);
    return consumed += count, count;
  }
  std::string text;
  std::size_t piece, consumed = 0;
};

}  // namespace morvex
