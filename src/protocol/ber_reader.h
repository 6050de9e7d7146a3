#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "protocol/basic_io.h"
#include "protocol/ber_value.h"
#include "protocol/catalogue.h"

namespace morvex::old_protocol {

// A layer above a stream.
class GenericLayer {
 public:
  virtual ~GenericLayer() = default;
  virtual BasicIo& lower() = 0;
  virtual void setLower(std::unique_ptr<BasicIo> stream) = 0;
  // One read of the stream, and all that follows from it. Blocks as long as the stream does.
  virtual void read() = 0;
  virtual bool hasData() = 0;
};

// Turns the bytes of one connection into finished messages, wherever the input is cut:
//   while (!(message = reader.nextMessage())) reader.read();
// It has no schema of its own: it asks the catalogue for the object of a message and each value for the
// object of its next child, and these decode themselves while their bytes arrive.
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
  bool hasData() override { return true; }

  // Throws protocol::EBer, and what the stream throws unless finished messages are waiting.
  void read() override;

  // Writes a message in the peer's tag set and flushes it. Throws as BerValue::write does.
  void send(const protocol::BerValue& message);

  // The oldest finished message, or null. Does no input.
  std::unique_ptr<protocol::BerValue> nextMessage();

  // Parses bytes that belong behind those read so far, as read() does with what it has read.
  void feed(std::span<const std::uint8_t> chunk);

  // Whether the peer has opened in the legacy tag set.
  bool legacy() const { return legacy_; }

 private:
  enum class State { tag, longTag, length, endOfContents, longLength, content };

  // A constructed value in progress.
  struct StackEntry {
    protocol::BerConstructed* value;
    std::uint32_t fieldIndex;  // of its next child
    std::uint64_t consumed;    // bytes of its content so far
    std::uint64_t length;      // declared, or kIndefinite
  };

  static constexpr std::uint64_t kIndefinite = ~std::uint64_t{0};

  void readOpening();
  std::size_t takeShort(std::span<const std::uint8_t> chunk);
  std::size_t takePlain(std::span<const std::uint8_t> chunk);
  void takeShortHeader(std::uint8_t tag, std::uint8_t length);
  void takeByte(std::uint8_t byte);
  void takeTag(std::uint8_t byte);
  void takeLongTag(std::uint8_t byte);
  void takeLength(std::uint8_t byte);
  void takeLongLength(std::uint8_t byte);
  void takeEndOfContents(std::uint8_t byte);
  std::size_t takeContent(std::span<const std::uint8_t> chunk);
  void startValue();
  protocol::BerValue& openValue();
  void checkTag(const protocol::BerValue& value) const;
  void startConstructed(protocol::BerConstructed& value);
  void startPrimitive(protocol::BerPrimitive& value);
  void finishPrimitive();
  void dropPrimitive();
  void closeComplete();
  void closeTop();
  void consume(std::uint64_t bytes);
  std::string position() const;

  const protocol::BerProtocol& catalogue_;
  std::unique_ptr<BasicIo> stream_;
  State state_ = State::tag;
  std::unique_ptr<protocol::BerValue> message_;  // in progress
  std::deque<StackEntry> stack_;                 // from message_ inwards; a vector would copy deep ones
  protocol::FieldSlot slot_;
  protocol::BerPrimitive* primitive_ = nullptr;  // in progress
  std::uint32_t tag_ = 0;
  std::uint64_t length_ = 0;    // of the value whose tag is tag_, or kIndefinite
  std::uint64_t received_ = 0;  // of the content of primitive_
  std::uint8_t lengthBytesLeft_ = 0;
  std::deque<std::unique_ptr<protocol::BerValue>> finished_;
  bool legacy_ = false;
  bool sniffing_ = true;
  std::array<std::uint8_t, 8> opening_{};
  std::size_t openingCount_ = 0;
};

}  // namespace morvex::old_protocol
