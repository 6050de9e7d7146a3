#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "protocol/basic_io.h"

namespace morvex::old_protocol {

// Puts a write buffer of 64 KiB on a stream, which it owns. Reads go straight to the stream: its reader takes
// blocks of that size. The destructor drops what has not been flushed.
class BufferIo final : public BasicIo {
 public:
  explicit BufferIo(std::unique_ptr<BasicIo> lower);
  ~BufferIo() override;
  BufferIo(const BufferIo&) = delete;
  BufferIo& operator=(const BufferIo&) = delete;

  void write(const std::uint8_t* bytes, std::size_t count) override;
  void flush() override;
  void gather(bool on) override { lower_->gather(on); }
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override {
    return lower_->read(bytes, capacity);
  }

 private:
  static constexpr std::size_t kSize = 0x10000;

  std::unique_ptr<BasicIo> lower_;
  std::unique_ptr<std::uint8_t[]> buffer_;
  std::size_t used_ = 0;
};

}  // namespace morvex::old_protocol
