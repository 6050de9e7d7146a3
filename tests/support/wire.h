#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/basic_io.h"
#include "protocol/record.h"
#include "support/text_of.h"

namespace morvex {

// Bytes as tests write them: "60 80 02 01". Blanks are ignored; a text between apostrophes stands for its own
// bytes: "04 02 '1F'".
inline std::vector<std::uint8_t> bytesOf(std::string_view hex) {
  const auto digit = [](char c) { return static_cast<std::uint8_t>(c <= '9' ? c - '0' : c - 'A' + 10); };
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i < hex.size(); ++i) {
    if (hex[i] == '\'') {
      while (hex[++i] != '\'') {
        bytes.push_back(static_cast<std::uint8_t>(hex[i]));
      }
    } else if (hex[i] != ' ') {
      const std::uint8_t high = digit(hex[i]);
      bytes.push_back(static_cast<std::uint8_t>(high << 4 | digit(hex[++i])));
    }
  }
  return bytes;
}

inline std::string hexOf(std::span<const std::uint8_t> bytes) {
  std::string hex;
  for (const std::uint8_t byte : bytes) {
    hex += hex.empty() ? "" : " ";
    hex += "0123456789ABCDEF"[byte >> 4];
    hex += "0123456789ABCDEF"[byte & 15];
  }
  return hex;
}

// Another spelling of the same bytes, as hexOf gives it.
inline std::string plainHex(std::string_view hex) { return hexOf(bytesOf(hex)); }

// A stream into memory.
struct MemoryIo final : protocol::BasicIo {
  std::vector<std::uint8_t> bytes;

  void write(const std::uint8_t* data, std::size_t count) override {
    bytes.insert(bytes.end(), data, data + count);
  }
  void flush() override {}
};

inline std::string writtenHex(const protocol::Record& value, bool legacy = false) {
  MemoryIo io;
  value.write(io, legacy);
  return hexOf(io.bytes);
}

}  // namespace morvex
