#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "protocol/basic_io.h"
#include "protocol/decoder.h"

namespace morvex::old_protocol {

// A layer above a stream.
class GenericLayer {
 public:
  virtual ~GenericLayer() = default;
  virtual BasicIo& lower() = 0;
  virtual void setLower(std::unique_ptr<BasicIo> stream) = 0;
  // One read of the stream, and all that follows from it. Blocks as long as the stream does.
  virtual void read() = 0;
};

// Turns the bytes of one connection into finished messages, wherever the input is cut:
//   while (!(message = reader.nextMessage())) reader.read();
// A reader that has thrown EBer is spent: nothing resynchronises it.
class BerReader final : public GenericLayer {
 public:
  // The catalogue must outlive the reader.
  BerReader(const protocol::BerProtocol& catalogue, std::unique_ptr<BasicIo> stream);
  ~BerReader() override;
  BerReader(const BerReader&) = delete;
  BerReader& operator=(const BerReader&) = delete;

  BasicIo& lower() override { return *stream_; }
  void setLower(std::unique_ptr<BasicIo> stream) override { stream_ = std::move(stream); }

  // Throws protocol::EBer, and what the stream throws unless finished messages are waiting.
  void read() override;

  // Writes a message in the peer's tag set; it leaves with the next one that is sent. Throws as Record::write
  // does.
  void write(const protocol::Record& message);
  // The same, and flushes it.
  void send(const protocol::Record& message);

  // The oldest finished message, or null. Does no input.
  std::unique_ptr<protocol::Record> nextMessage();

  // Parses bytes that belong behind those read so far, as read() does with what it has read.
  void feed(std::span<const std::uint8_t> chunk);

  // Whether the peer has opened in the legacy tag set.
  bool legacy() const { return decoder_.legacy(); }

 private:
  std::span<const std::uint8_t> takeOpening(std::span<const std::uint8_t> chunk);
  void keep(std::span<const std::uint8_t> rest);

  std::unique_ptr<BasicIo> stream_;
  protocol::Decoder decoder_;
  // An item that is not whole yet, with room for as much as completes it.
  std::array<std::uint8_t, 2 * protocol::Decoder::kLongestRest> rest_;
  std::size_t restSize_ = 0;
  bool sniffing_ = true;
  std::array<std::uint8_t, 8> opening_{};
  std::size_t openingCount_ = 0;
};

}  // namespace morvex::old_protocol
