#include "platform/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace morvex {

void platform_prepare_process() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
      open("/", O_PATH);  // takes the lowest free number, this one; every read and write of it fails
    }
  }
}

char** programArguments(int&, char** argv) { return argv; }

}  // namespace morvex
