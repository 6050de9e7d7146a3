#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/errors.h"
#include "platform/input.h"

namespace morvex {
namespace {

void waitUntilReadable(int descriptor) {
  pollfd waited{.fd = descriptor, .events = POLLIN, .revents = 0};
  poll(&waited, 1, -1);
}

class DescriptorReader final : public LineReader {
 public:
  explicit DescriptorReader(int descriptor) : descriptor_(descriptor) {}

  ~DescriptorReader() override {
    if (descriptor_ != STDIN_FILENO) {
      close(descriptor_);
    }
  }

 private:
  std::size_t read(std::span<char> block) override {
    while (true) {
      const ssize_t count = ::read(descriptor_, block.data(), block.size());
      if (count >= 0) {
        return static_cast<std::size_t>(count);
      }
      if (errno == EAGAIN) {  // whoever shares a standard stream may have made it non-blocking
        waitUntilReadable(descriptor_);
      } else if (errno != EINTR) {
        throwSystemError(std::string("Error reading input: ") + std::strerror(errno));
      }
    }
  }

  int descriptor_;
};

}  // namespace

std::unique_ptr<LineReader> LineReader::open(const std::string& name) {
  int descriptor = -1;
  do {
    descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  } while (descriptor < 0 && errno == EINTR);  // a named pipe is waited for
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorReader>(descriptor);
}

std::unique_ptr<LineReader> LineReader::standardInput() {
  return std::make_unique<DescriptorReader>(STDIN_FILENO);
}

}  // namespace morvex
