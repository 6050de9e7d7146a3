#include "platform/terminal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace morvex {
namespace {

constexpr int kAccess = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int g_errorTerminal = -1;

// Any process may write to a terminal that is not its session's own.
bool isBackground() {
  const pid_t foreground = tcgetpgrp(g_errorTerminal);
  return foreground >= 0 && foreground != getpgrp();
}

}  // namespace

bool isTerminal(int descriptor) { return isatty(descriptor) != 0; }

bool isTerminal(const std::string& fileName) {
  struct stat status {};
  if (stat(fileName.c_str(), &status) != 0 || !S_ISCHR(status.st_mode)) {
    return false;
  }
  const int descriptor = open(fileName.c_str(), kAccess);
  if (descriptor < 0) {
    return false;
  }
  const bool terminal = isTerminal(descriptor);
  close(descriptor);
  return terminal;
}

// Opens the terminal anew: O_NONBLOCK on the shared description would affect every process. By name the
// session's own terminal opens even if the device belongs to another user.
bool openErrorTerminal() {
  if (isTerminal(StandardStream::error)) {
    g_errorTerminal = open(tcgetpgrp(STDERR_FILENO) >= 0 ? "/dev/tty" : "/dev/fd/2", kAccess);
  }
  return g_errorTerminal >= 0;
}

TerminalOutcome showOnErrorTerminal(std::string_view text) noexcept {
  if (isBackground()) {
    return TerminalOutcome::heldBack;
  }
  const ssize_t count = write(g_errorTerminal, text.data(), text.size());
  if (count > 0) {  // a rest without room is lost
    return TerminalOutcome::shown;
  }
  return errno == EAGAIN || errno == EINTR ? TerminalOutcome::heldBack : TerminalOutcome::lost;
}

}  // namespace morvex
