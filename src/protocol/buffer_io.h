#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "protocol/basic_io.h"

namespace morvex::old_protocol {

// Puts a read buffer and a write buffer of 64 KiB on a stream, which it owns. What has not been flushed when
// it is destroyed is not sent.
class BufferIo final : public BasicIo {
 public:
  explicit BufferIo(std::unique_ptr<BasicIo> lower);
  ~BufferIo() override;
  BufferIo(const BufferIo&) = delete;
  BufferIo& operator=(const BufferIo&) = delete;

  void write(const std::uint8_t* bytes, std::size_t count) override;
  void flush() override;
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override;
  bool hasData() override { return true; }

 private:
  static constexpr std::size_t kSize = 0x10000;

  std::unique_ptr<BasicIo> lower_;
  std::unique_ptr<std::uint8_t[]> readBuffer_;
  std::uint8_t* readCursor_;
  std::uint8_t* readEnd_;
  std::unique_ptr<std::uint8_t[]> writeBuffer_;
  std::uint8_t* writeCursor_;
  std::uint8_t* writeEnd_;
};

}  // namespace morvex::old_protocol
