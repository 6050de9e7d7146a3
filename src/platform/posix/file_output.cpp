#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "platform/descriptor.h"

namespace morvex {

static void waitUntilWritable(int descriptor) {
  pollfd waited{.fd = descriptor, .events = POLLOUT, .revents = 0};
  poll(&waited, 1, -1);
}

int platform_create_file(const std::string& name) {
  int descriptor = -1;
  do {
    descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EINTR);  // a named pipe is waited for
  return descriptor;
}

int platform_write(int descriptor, std::string_view text) noexcept {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {  // whoever shares a standard stream may have made it non-blocking
      waitUntilWritable(descriptor);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int platform_close(int descriptor) noexcept {
  return close(descriptor) != 0 && errno != EINTR ? errno : 0;  // interrupted or not, it is released
}

}  // namespace morvex
