#include "protocol/buffer_io.h"

#include <algorithm>
#include <utility>

#include "foundation/wipe.h"

namespace morvex::old_protocol {

BufferIo::BufferIo(std::unique_ptr<BasicIo> lower)
    : lower_(std::move(lower)), buffer_(std::make_unique_for_overwrite<std::uint8_t[]>(kSize)) {}

// Passwords and session keys have passed through.
BufferIo::~BufferIo() { wipe(buffer_.get(), kSize); }

void BufferIo::write(const std::uint8_t* bytes, std::size_t count) {
  for (std::size_t free = kSize - used_; count >= free; free = kSize) {
    std::copy_n(bytes, free, buffer_.get() + used_);
    lower_->write(buffer_.get(), kSize);
    used_ = 0;
    bytes += free;
    count -= free;
  }
  std::copy_n(bytes, count, buffer_.get() + used_);
  used_ += count;
}

void BufferIo::flush() {
  if (used_ != 0) {
    lower_->write(buffer_.get(), used_);
    wipe(buffer_.get(), used_);  // the log-in must not stay in memory, and a run may last for days
    used_ = 0;
  }
  lower_->flush();
}

}  // namespace morvex::old_protocol
