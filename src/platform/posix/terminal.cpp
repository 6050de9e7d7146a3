#include "platform/terminal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace morvex {
namespace {

constexpr int kAccess = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int g_errorTerminal = -1;

// Of a terminal that is not the session's own, every process is free to write to it.
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

// The terminal is opened anew, as that it does not block would hold for all who share the descriptor. The
// session's own is open to its processes by name even if the device belongs to another user.
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
  if (count > 0) {  // what there was no room for is missed like any other
    return TerminalOutcome::shown;
  }
  return errno == EAGAIN || errno == EINTR ? TerminalOutcome::heldBack : TerminalOutcome::lost;
}

}  // namespace morvex
