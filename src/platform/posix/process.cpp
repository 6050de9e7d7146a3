#include "platform/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <initializer_list>
#include <string_view>

#include "foundation/assertion.h"
#include "platform/output.h"
#include "platform/traffic.h"

namespace morvex {
namespace {

// A descriptor by which nothing can be read or written: the use of a stream that the caller closed
// stays an error.
void occupyIfClosed(int descriptor) {
  if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
    open("/", O_PATH);  // takes the lowest free number, which is this one
  }
}

// An exception for which there is no memory cannot reach main, nor can it be said with anything that might
// throw again.
[[noreturn]] void endWithoutException() noexcept {
  constexpr std::string_view kMessage = "Caught unknown exception.\n";
  g_traffic.tell(Occasion::message);
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kMessage.data(), kMessage.size());
  _exit(EXIT_FAILURE);
}

}  // namespace

void prepareProcess() {
  g_reportAssertion = printError;
  std::set_terminate(endWithoutException);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    occupyIfClosed(descriptor);
  }
}

char** programArguments(int&, char** given) { return given; }

}  // namespace morvex
