#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/ber_reader.h"
#include "require.h"

using namespace std::string_view_literals;

// Keeps what is written, and is read in pieces of the given sizes, over and over.
class PiecewiseIo final : public old_protocol::BasicIo {
 public:
  PiecewiseIo() = default;
  PiecewiseIo(std::string bytes, std::vector<std::size_t> pieces)
      : bytes_(std::move(bytes)), pieces_(std::move(pieces)) {}

  void write(const std::uint8_t* bytes, std::size_t count) override {
    bytes_.append(reinterpret_cast<const char*>(bytes), count);
  }
  void flush() override {}
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override {
    const std::size_t piece = pieces_[reads_++ % pieces_.size()];
    const std::size_t count = std::min({capacity, piece, bytes_.size() - taken_});
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(taken_), count, bytes);
    taken_ += count;
    return count;
  }
  bool hasData() override { return taken_ < bytes_.size(); }
  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
  std::vector<std::size_t> pieces_{65536};
  std::size_t taken_ = 0;
  std::size_t reads_ = 0;
};

inline std::string written(const protocol::BerValue& value, bool legacy) {
  PiecewiseIo io;
  value.write(io, legacy);
  return io.bytes();
}

// What a reader made of its input.
struct Reading {
  std::deque<std::unique_ptr<protocol::BerValue>> messages;
  std::string refusal;
};

inline Reading readAll(const protocol::BerProtocol& catalogue, std::string bytes,
                       std::vector<std::size_t> pieces = {65536}) {
  auto stream = std::make_unique<PiecewiseIo>(std::move(bytes), std::move(pieces));
  const PiecewiseIo& io = *stream;
  old_protocol::BerReader reader(catalogue, std::move(stream));
  Reading reading;
  reading.refusal = outcomeOf([&] {
    while (const_cast<PiecewiseIo&>(io).hasData()) {
      reader.read();
    }
    return "";
  });
  while (auto message = reader.nextMessage()) {
    reading.messages.push_back(std::move(message));
  }
  return reading;
}

// A whole first message of a peer that speaks the legacy tag set.
inline constexpr std::string_view kLegacyStart =
    "\x60\x80\x02\x02\x01\x00\x61\x80\x16\x00\x16\x00\x16\x00\x01\x00\x00\x00\x00\x00"sv;

// Reads back one value that was written in this tag set; the catalogue knows the legacy start.
inline std::unique_ptr<protocol::BerValue> readBack(const protocol::BerProtocol& catalogue,
                                                    const std::string& bytes, bool legacy) {
  Reading reading = readAll(catalogue, (legacy ? std::string(kLegacyStart) : "") + bytes);
  require(reading.refusal.empty(), "what was written is read back, not " + reading.refusal);
  require(reading.messages.size() == (legacy ? 2 : 1), "what was written is one message");
  return std::move(reading.messages.back());
}
