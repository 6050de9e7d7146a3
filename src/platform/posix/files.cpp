#include "platform/files.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace morvex {
namespace {

int openWith(const std::string& name, int flags) {
  int descriptor = -1;
  do {
    descriptor = open(name.c_str(), flags | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EINTR);  // while it waits for the other end of a named pipe
  return descriptor;
}

// Whether the call that has just failed is worth another try. A standard stream does not block if another
// process that shares it wishes so; then this waits until it is ready.
bool isWorthRetrying(int descriptor, short events) {
  if (errno == EAGAIN) {
    pollfd waited{.fd = descriptor, .events = events, .revents = 0};
    poll(&waited, 1, -1);
    return true;
  }
  return errno == EINTR;
}

}  // namespace

int platform_open_file(const std::string& name) { return openWith(name, O_RDONLY); }

int platform_create_file(const std::string& name) { return openWith(name, O_WRONLY | O_CREAT | O_TRUNC); }

int platform_read(int descriptor, std::span<char> block, std::size_t& count) noexcept {
  ssize_t result = 0;
  do {
    result = read(descriptor, block.data(), block.size());
  } while (result < 0 && isWorthRetrying(descriptor, POLLIN));
  count = result < 0 ? 0 : static_cast<std::size_t>(result);
  return result < 0 ? errno : 0;
}

int platform_write(int descriptor, std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (!isWorthRetrying(descriptor, POLLOUT)) {
      return errno;
    }
  }
  return 0;
}

int platform_close(int descriptor) noexcept {
  return close(descriptor) != 0 && errno != EINTR ? errno : 0;  // interrupted or not, it is released
}

}  // namespace morvex
