#include "platform/output.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/terminal.h"
#include "platform/traffic.h"

namespace morvex {
namespace {

void check(int code) {
  if (code == EPIPE) {
    throw OutputAbandoned();
  }
  if (code != 0) {
    throwSystemError(std::string("Error writing output: ") + std::strerror(code));
  }
}

class StandardOutput final : public Output {
 public:
  StandardOutput() { interactive_ = isTerminal(kStandardOutput); }

 private:
  void drain(std::string_view block) override { check(platform_write(kStandardOutput, block)); }
};

class DescriptorFile final : public OutputFile {
 public:
  explicit DescriptorFile(int descriptor) : descriptor_(descriptor) { interactive_ = isTerminal(descriptor); }

  ~DescriptorFile() override {
    try {
      close();
    } catch (...) {  // only close() reports failures
      if (descriptor_ >= 0) {
        platform_close(descriptor_);
      }
    }
  }

  void close() override {
    flush();
    if (descriptor_ >= 0) {
      check(platform_close(std::exchange(descriptor_, -1)));
    }
  }

 private:
  void drain(std::string_view block) override { check(platform_write(descriptor_, block)); }

  int descriptor_;
};

}  // namespace

void Output::flush() {
  if (size_ == 0) {
    return;
  }
  const std::string_view block(buffer_.get(), size_);
  size_ = 0;  // even if this fails: part may be out, and a later flush must not write it again
  drain(block);
  g_traffic.count(Way::written, block.size());
}

// Called while the buffer holds less than a block.
void Output::grow(std::size_t count) {
  const std::size_t capacity = kBlock + std::max(count, kBlock / 16);
  auto larger = std::make_unique_for_overwrite<char[]>(capacity);
  std::copy_n(buffer_.get(), size_, larger.get());
  buffer_ = std::move(larger);
  capacity_ = capacity;
}

Output& standardOutput() {
  static StandardOutput output;
  return output;
}

std::unique_ptr<OutputFile> OutputFile::create(const std::string& name) {
  const int descriptor = platform_create_file(name);
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorFile>(descriptor);
}

// A server or a file must not command the terminal. Takes no memory, as there may be none.
static void showError(std::string_view text) noexcept {
  std::array<char, 1024> room;
  while (!text.empty()) {
    char* end = room.data();
    while (!text.empty() && room.data() + room.size() - end >= 8) {
      end = putVisible(end, text);
    }
    platform_write(kStandardError, {room.data(), end});
  }
}

void printError(std::string_view text) noexcept {
  try {
    standardOutput().flush();
  } catch (...) {  // the message at hand is the one to report
  }
  g_traffic.tell(Occasion::message);
  if (isTerminal(StandardStream::error)) {
    showError(text);
  } else {
    platform_write(kStandardError, text);
  }
}

}  // namespace morvex
