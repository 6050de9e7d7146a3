#pragma once

#include <cstddef>
#include <cstdint>

namespace morvex::protocol {

// A stream to write bytes to. Throws error::ESystemError.
class BasicIo {
 public:
  virtual ~BasicIo() = default;
  virtual void write(const std::uint8_t* bytes, std::size_t count) = 0;
  // Sends everything written so far.
  virtual void flush() = 0;
};

}  // namespace morvex::protocol

namespace morvex::old_protocol {

// A stream in both directions.
class BasicIo : public protocol::BasicIo {
 public:
  // Between true and false, flushed bytes may wait for more, so that small messages share their packets.
  virtual void gather(bool) {}
  // Waits for at least one byte and returns how many came, at most capacity. 0 only for a capacity of 0.
  virtual std::size_t read(std::uint8_t* bytes, std::size_t capacity) = 0;
};

}  // namespace morvex::old_protocol
