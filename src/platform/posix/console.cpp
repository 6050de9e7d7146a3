#include "platform/console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <initializer_list>
#include <span>
#include <string_view>
#include <utility>

#include "foundation/wipe.h"

namespace morvex {
namespace {

// Longer than the longest line of a terminal (4096 bytes), so that one read takes all of it.
using Line = std::array<char, 8192>;

constexpr const char* kSuspended = "Suspended";

// The console of the prompt.
class PromptConsole {
 public:
  explicit PromptConsole(int access) : descriptor_(open("/dev/tty", access | O_NOCTTY | O_CLOEXEC)) {}
  ~PromptConsole() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
  }
  PromptConsole(const PromptConsole&) = delete;
  PromptConsole& operator=(const PromptConsole&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }
  // The number of the terminal behind /dev/tty, 0 if the system does not tell.
  dev_t device() const {
    unsigned number = 0;
    return ioctl(descriptor_, TIOCGDEV, &number) == 0 ? number : 0;
  }
  // The system stops a background process here.
  bool drain() const;
  bool mode(termios& result) const { return tcgetattr(descriptor_, &result) == 0; }
  bool setMode(const termios& wanted, int when) const;
  bool write(std::string_view text) const;
  // Waits until there is something to read here or one of the others has something.
  bool wait(int other, int another) const;
  ssize_t read(Line& line) const;

 private:
  int descriptor_;
};

bool PromptConsole::drain() const {
  int result = 0;
  do {
    result = tcdrain(descriptor_);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool PromptConsole::setMode(const termios& wanted, int when) const {
  int result = 0;
  do {
    result = tcsetattr(descriptor_, when, &wanted);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool PromptConsole::write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor_, text.data(), text.size());
    if (count > 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool PromptConsole::wait(int other, int another) const {
  std::array<pollfd, 3> waited{{{descriptor_, POLLIN, 0}, {other, POLLIN, 0}, {another, POLLIN, 0}}};
  int result = 0;
  do {
    result = poll(waited.data(), waited.size(), -1);
  } while (result < 0 && errno == EINTR);
  return result > 0;
}

ssize_t PromptConsole::read(Line& line) const {
  ssize_t count = 0;
  do {
    count = ::read(descriptor_, line.data(), line.size());
  } while (count < 0 && errno == EINTR);
  return count;
}

// The right to prompt on a terminal, for one process at a time. The system takes it back from one that dies.
// It is a record lock on the terminal's own device: /dev/tty is one file for all terminals, and a lock of the
// whole description would not part the processes of a pipe, which inherit one description of the terminal.
class TerminalLock {
 public:
  // Waits for the right. Without any way to the device there is none to wait for: on a terminal of another
  // user's, with all standard streams redirected. The prompt then does without.
  explicit TerminalLock(dev_t device) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      if (lock(fcntl(stream, F_DUPFD_CLOEXEC, 0), device)) {
        return;
      }
    }
    std::array<char, 32> name{};
    if (major(device) >= 136 && major(device) <= 143) {
      std::snprintf(name.data(), name.size(), "/dev/pts/%u", minor(device));
    } else {
      std::snprintf(name.data(), name.size(), "/dev/char/%u:%u", major(device), minor(device));
    }
    lock(open(name.data(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), device);
  }
  // The system drops the lock with the descriptor.
  ~TerminalLock() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
  }
  TerminalLock(const TerminalLock&) = delete;
  TerminalLock& operator=(const TerminalLock&) = delete;

 private:
  bool lock(int descriptor, dev_t device) {
    struct stat status {};
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    int result = -1;
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
        status.st_rdev == device) {
      do {
        result = fcntl(descriptor, F_SETLKW, &whole);
      } while (result != 0 && errno == EINTR);
    }
    if (result == 0) {
      descriptor_ = descriptor;
    } else if (descriptor >= 0) {
      close(descriptor);
    }
    return result == 0;
  }

  int descriptor_ = -1;
};

// Holds signals back and tells whether one has come. Those that the caller ignores or holds back itself are
// left to it.
class HeldSignals {
 public:
  HeldSignals(std::initializer_list<int> signals) {
    sigemptyset(&held_);
    sigprocmask(SIG_BLOCK, nullptr, &before_);
    for (const int signal : signals) {
      struct sigaction action {};
      if (sigismember(&before_, signal) == 0 && sigaction(signal, nullptr, &action) == 0 &&
          action.sa_handler != SIG_IGN) {
        sigaddset(&held_, signal);
      }
    }
    sigprocmask(SIG_BLOCK, &held_, nullptr);
    descriptor_ = signalfd(-1, &held_, SFD_CLOEXEC);
  }
  // What has come and was not taken has its effect here.
  ~HeldSignals() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
    sigprocmask(SIG_SETMASK, &before_, nullptr);
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  int descriptor() const { return descriptor_; }  // readable once one has come
  bool hasCome() const {
    sigset_t come{}, both{};
    return sigpending(&come) == 0 && sigandset(&both, &come, &held_) == 0 && sigisemptyset(&both) == 0;
  }
  bool take() const {
    const timespec atOnce{};
    bool taken = false;
    while (sigtimedwait(&held_, nullptr, &atOnce) > 0) {
      taken = true;
    }
    return taken;
  }

 private:
  sigset_t held_{}, before_{};
  int descriptor_;
};

// The mode of the prompt: whole lines, no echo, and the interrupt and quit keys as line ends. As signals they
// would end the program with the echo off. The suspend key stays a signal, which is held back.
termios promptMode(termios mode) {
  mode.c_iflag &= ~static_cast<tcflag_t>(IGNCR | INLCR);
  mode.c_iflag |= ICRNL;
  mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
  mode.c_lflag |= ICANON | IEXTEN;  // the second line end is an extension
  mode.c_cc[VEOL] = std::exchange(mode.c_cc[VINTR], cc_t{_POSIX_VDISABLE});
  mode.c_cc[VEOL2] = std::exchange(mode.c_cc[VQUIT], cc_t{_POSIX_VDISABLE});
  return mode;
}

// The mode to leave behind. A prompt that was killed leaves its own, which is like no other: the interrupt
// and quit keys are line ends instead.
termios usualMode(termios mode) {
  if ((mode.c_lflag & (ECHO | ICANON)) == ICANON && mode.c_cc[VINTR] == _POSIX_VDISABLE &&
      mode.c_cc[VQUIT] == _POSIX_VDISABLE && mode.c_cc[VEOL] != mode.c_cc[VEOL2]) {
    mode.c_lflag |= ECHO;
    mode.c_cc[VINTR] = std::exchange(mode.c_cc[VEOL], cc_t{_POSIX_VDISABLE});
    mode.c_cc[VQUIT] = std::exchange(mode.c_cc[VEOL2], cc_t{_POSIX_VDISABLE});
  }
  return mode;
}

bool isIn(std::string_view text, cc_t key) {
  return key != _POSIX_VDISABLE && text.find(static_cast<char>(key)) != std::string_view::npos;
}

// Hands over the text before the line end. A key of a signal is in the line if it was quoted, and Ctrl+Z if
// it is no such key here.
const char* takeAnswer(std::string_view line, const termios& mode, std::span<char> answer) {
  if (isIn(line, mode.c_cc[VINTR]) || isIn(line, mode.c_cc[VQUIT]) || isIn(line, mode.c_cc[VSUSP]) ||
      isIn(line, '\x1a')) {
    return "Interrupted";
  }
  const std::string_view text = line.substr(0, line.find_first_of(std::string_view("\0\n\r", 3)));
  if (text.size() >= answer.size()) {
    return "The answer is too long";
  }
  *std::copy(text.begin(), text.end(), answer.begin()) = '\0';
  return nullptr;
}

const char* readAnswer(const PromptConsole& input, const termios& mode, std::span<char> answer) {
  Line line;
  const ssize_t count = input.read(line);
  const char* message = nullptr;
  if (count < 0) {
    message = "Could not read";
  } else if (count == 0) {
    message = "read returned 0";
  } else {
    message = takeAnswer({line.data(), static_cast<std::size_t>(count)}, mode, answer);
  }
  wipe(line.data(), line.size());
  return message;
}

// Waits for an answer. Returns null if there is one to read.
const char* awaitAnswer(const PromptConsole& input, const HeldSignals& fatal, const HeldSignals& stop) {
  if (!input.wait(fatal.descriptor(), stop.descriptor())) {
    return "Could not read";
  }
  if (fatal.take()) {
    return "Interrupted";
  }
  return stop.hasCome() ? kSuspended : nullptr;
}

// Asks with the echo off, and puts the mode back.
const char* ask(const PromptConsole& input, const PromptConsole& output, const HeldSignals& stop,
                const termios& mode, std::span<char> answer, const char* prompt) {
  const HeldSignals fatal{SIGHUP, SIGINT, SIGQUIT, SIGTERM};  // none ends the program with the echo off
  if (!input.setMode(promptMode(mode), TCSADRAIN)) {
    return "SetConsoleMode failed";
  }
  const char* message = "Could not write";
  if (output.write(prompt)) {
    message = awaitAnswer(input, fatal, stop);
    if (message == nullptr) {
      message = readAnswer(input, mode, answer);
    }
    if (!output.write("\n") && message == nullptr) {
      message = "Could not write";
    }
  }
  // Input behind a refused answer is part of it: no shell may read it.
  if (!input.setMode(mode, message == nullptr ? TCSADRAIN : TCSAFLUSH)) {
    message = "SetConsoleMode failed";
  }
  if (fatal.take()) {
    message = "Interrupted";
  }
  if (message != nullptr && message != kSuspended) {
    std::signal(SIGHUP, SIG_IGN);  // a terminal that hung up may send it late
  }
  return message;
}

// Asks when it is this process's turn. Leaves the terminal to others before it returns, and only then stops
// for a suspend key.
const char* askInTurn(const PromptConsole& input, const PromptConsole& output, std::span<char> answer,
                      const char* prompt) {
  if (!input.drain()) {
    return "SetConsoleMode failed";
  }
  // A program that is stopped must not hold the lock. Other signals may end it while it waits.
  const HeldSignals stop{SIGTSTP};
  const TerminalLock lock(input.device());
  termios found{};
  if (!input.mode(found)) {
    return "GetConsoleMode failed";
  }
  return stop.hasCome() ? kSuspended : ask(input, output, stop, usualMode(found), answer, prompt);
}

}  // namespace

const char* console_read_password(char* buffer, std::size_t capacity, const char* prompt) {
  const PromptConsole input(O_RDWR);
  if (!input.isOpen()) {
    return "Could not open CONIN$";
  }
  const PromptConsole output(O_WRONLY);
  if (!output.isOpen()) {
    return "Could not open CONOUT$";
  }
  const char* message = nullptr;
  do {
    message = askInTurn(input, output, {buffer, capacity}, prompt);
  } while (message == kSuspended);
  if (message != nullptr) {
    wipe(buffer, capacity);
  }
  return message;
}

}  // namespace morvex
