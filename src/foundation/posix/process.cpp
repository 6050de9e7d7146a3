#include "foundation/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace {

// A descriptor by which nothing can be read or written: the use of a stream that the caller closed
// stays an error.
void occupyIfClosed(int descriptor) {
  if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
    open("/", O_PATH);  // takes the lowest free number, which is this one
  }
}

}  // namespace

void prepareProcess() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    occupyIfClosed(descriptor);
  }
}
