#include "foundation/output.h"

#include "foundation/progress.h"

void Output::flush() {
  if (size_ == 0) {
    return;
  }
  const std::string_view block(buffer_.get(), size_);
  size_ = 0;  // should it fail, part may be out: a later flush must not write that twice, nor fail again
  drain(block);
  g_progress.count(Way::written, block.size());
}

// There is always less than a block in the buffer.
void Output::grow(std::size_t count) {
  const std::size_t capacity = kBlock + std::max(count, kBlock / 16);
  auto larger = std::make_unique_for_overwrite<char[]>(capacity);
  std::copy_n(buffer_.get(), size_, larger.get());
  buffer_ = std::move(larger);
  capacity_ = capacity;
}
