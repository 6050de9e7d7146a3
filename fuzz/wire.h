#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/ber_reader.h"
#include "require.h"

namespace morvex {

// Keeps what is written. Is read in pieces of these sizes, over and over.
struct PiecewiseIo final : old_protocol::BasicIo {
  explicit PiecewiseIo(std::string content = "", std::vector<std::size_t> sizes = {65536})
      : bytes(std::move(content)), pieces(std::move(sizes)) {}
  void write(const std::uint8_t* data, std::size_t count) override {
    bytes.append(reinterpret_cast<const char*>(data), count);
  }
  void flush() override {}
  std::size_t read(std::uint8_t* data, std::size_t capacity) override {
    const std::size_t count =
        bytes.copy(reinterpret_cast<char*>(data), std::min(capacity, pieces[reads++ % pieces.size()]), taken);
    taken += count;
    return count;
  }
  bool hasData() const { return taken < bytes.size(); }

  std::string bytes;
  std::vector<std::size_t> pieces;
  std::size_t taken = 0, reads = 0;
};

inline std::string written(const protocol::BerValue& value, bool legacy) {
  PiecewiseIo io;
  value.write(io, legacy);
  return io.bytes;
}

// What a reader made of its input.
struct Reading {
  Reading(const protocol::BerProtocol& catalogue, std::unique_ptr<PiecewiseIo> stream) {
    PiecewiseIo& io = *stream;
    old_protocol::BerReader reader(catalogue, std::move(stream));
    refusal = outcomeOf([&] {
      while (io.hasData()) {
        reader.read();
      }
      return "";
    });
    while (auto message = reader.nextMessage()) {
      messages.push_back(std::move(message));
    }
  }
  std::deque<std::unique_ptr<protocol::BerValue>> messages;
  std::string refusal;
};

// A whole first message of a peer that speaks the legacy tag set.
inline const std::string kLegacyStart("\x60\x80\2\2\1\0\x61\x80\x16\0\x16\0\x16\0\1\0\0\0\0\0", 20);

// Reads back one value that was written in this tag set; the catalogue knows the legacy start.
inline std::unique_ptr<protocol::BerValue> readBack(const protocol::BerProtocol& catalogue,
                                                    const std::string& bytes, bool legacy) {
  Reading reading(catalogue, std::make_unique<PiecewiseIo>((legacy ? kLegacyStart : "") + bytes));
  require(reading.refusal.empty(), "what was written is read back, not " + reading.refusal);
  require(reading.messages.size() == (legacy ? 2 : 1), "what was written is one message");
  return std::move(reading.messages.back());
}

}  // namespace morvex
