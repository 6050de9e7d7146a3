#include "protocol/buffer_io.h"

#include <algorithm>
#include <utility>

#include "foundation/wipe.h"

namespace morvex::old_protocol {

BufferIo::BufferIo(std::unique_ptr<BasicIo> lower)
    : lower_(std::move(lower)),
      readBuffer_(std::make_unique_for_overwrite<std::uint8_t[]>(kSize)),
      readCursor_(readBuffer_.get()),
      readEnd_(readBuffer_.get()),
      writeBuffer_(std::make_unique_for_overwrite<std::uint8_t[]>(kSize)),
      writeCursor_(writeBuffer_.get()),
      writeEnd_(writeBuffer_.get() + kSize) {}

// Passwords and session keys have passed through.
BufferIo::~BufferIo() {
  wipe(writeBuffer_.get(), kSize);
  wipe(readBuffer_.get(), kSize);
}

void BufferIo::write(const std::uint8_t* bytes, std::size_t count) {
  auto free = static_cast<std::size_t>(writeEnd_ - writeCursor_);
  while (count >= free) {
    std::copy_n(bytes, free, writeCursor_);
    lower_->write(writeBuffer_.get(), kSize);
    writeCursor_ = writeBuffer_.get();
    bytes += free;
    count -= free;
    free = kSize;
  }
  writeCursor_ = std::copy_n(bytes, count, writeCursor_);
}

void BufferIo::flush() {
  if (writeCursor_ != writeBuffer_.get()) {
    const auto count = static_cast<std::size_t>(writeCursor_ - writeBuffer_.get());
    lower_->write(writeBuffer_.get(), count);
    wipe(writeBuffer_.get(), count);  // the run may last for days, with a log-in at the start
    writeCursor_ = writeBuffer_.get();
  }
  lower_->flush();
}

std::size_t BufferIo::read(std::uint8_t* bytes, std::size_t capacity) {
  if (readCursor_ == readEnd_) {
    if (capacity >= kSize) {  // a detour through the buffer would save no call
      return lower_->read(bytes, capacity);
    }
    readCursor_ = readEnd_ = readBuffer_.get();
    readEnd_ += lower_->read(readBuffer_.get(), kSize);
  }
  const std::size_t count = std::min(capacity, static_cast<std::size_t>(readEnd_ - readCursor_));
  std::copy_n(readCursor_, count, bytes);
  readCursor_ += count;
  return count;
}

}  // namespace morvex::old_protocol
