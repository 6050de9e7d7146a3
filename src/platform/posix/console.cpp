#include "platform/console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>

#include "foundation/wipe.h"

namespace morvex {
namespace {

// Longer than the longest line of a terminal (4096 bytes), so that one read takes all of it.
using Line = std::array<char, 8192>;

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
  bool mode(termios& result) const { return tcgetattr(descriptor_, &result) == 0; }
  bool setMode(const termios& wanted, int when) const;
  bool write(std::string_view text) const;
  // Waits until there is something to read here or the other descriptor has something.
  bool wait(int other) const;
  ssize_t read(Line& line) const;

 private:
  int descriptor_;
};

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

bool PromptConsole::wait(int other) const {
  std::array<pollfd, 2> waited{{{descriptor_, POLLIN, 0}, {other, POLLIN, 0}}};
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

// Holds fatal signals back, so that none ends the program with the echo off, and tells whether one has come.
// Signals that the caller ignores stay ignored.
class HeldSignals {
 public:
  HeldSignals() {
    sigemptyset(&held_);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
      struct sigaction action {};
      if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
        sigaddset(&held_, signal);
      }
    }
    sigprocmask(SIG_BLOCK, &held_, &before_);
    descriptor_ = signalfd(-1, &held_, SFD_CLOEXEC);
  }
  ~HeldSignals() {
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
    sigprocmask(SIG_SETMASK, &before_, nullptr);
  }
  HeldSignals(const HeldSignals&) = delete;
  HeldSignals& operator=(const HeldSignals&) = delete;

  int descriptor() const { return descriptor_; }  // readable once one has come
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
// would end the program with the echo off.
termios promptMode(termios mode) {
  mode.c_iflag &= ~static_cast<tcflag_t>(IGNCR | INLCR);
  mode.c_iflag |= ICRNL;
  mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL | ISIG);
  mode.c_lflag |= ICANON | IEXTEN;  // the second line end is an extension
  mode.c_cc[VEOL] = mode.c_cc[VINTR];
  mode.c_cc[VEOL2] = mode.c_cc[VQUIT];
  return mode;
}

bool isIn(std::string_view text, cc_t key) {
  return key != _POSIX_VDISABLE && text.find(static_cast<char>(key)) != std::string_view::npos;
}

// Hands over the text before the line end.
const char* takeAnswer(std::string_view line, const termios& mode, char* buffer, std::size_t capacity) {
  if (isIn(line, mode.c_cc[VINTR]) || isIn(line, mode.c_cc[VQUIT])) {
    return "Interrupted";
  }
  const std::string_view answer = line.substr(0, line.find_first_of(std::string_view("\0\n\r", 3)));
  if (answer.size() >= capacity) {
    return "The answer is too long";
  }
  std::copy(answer.begin(), answer.end(), buffer);
  buffer[answer.size()] = '\0';
  return nullptr;
}

const char* readAnswer(const PromptConsole& input, const HeldSignals& signals, const termios& mode,
                       char* buffer, std::size_t capacity) {
  if (!input.wait(signals.descriptor())) {
    return "Could not read";
  }
  if (signals.take()) {
    return "Interrupted";
  }
  Line line;
  const ssize_t count = input.read(line);
  const char* message = nullptr;
  if (count < 0) {
    message = "Could not read";
  } else if (count == 0) {
    message = "read returned 0";
  } else {
    message = takeAnswer({line.data(), static_cast<std::size_t>(count)}, mode, buffer, capacity);
  }
  wipe(line.data(), line.size());
  return message;
}

// Asks with the echo off, and puts the mode back.
const char* ask(const PromptConsole& input, const PromptConsole& output, const termios& mode, char* buffer,
                std::size_t capacity, const char* prompt) {
  const HeldSignals signals;
  if (!input.setMode(promptMode(mode), TCSADRAIN)) {
    return "SetConsoleMode failed";
  }
  const char* message = "Could not write";
  if (output.write(prompt)) {
    message = readAnswer(input, signals, mode, buffer, capacity);
    if (!output.write("\n") && message == nullptr) {
      message = "Could not write";
    }
  }
  // Input behind a refused answer is part of it: no shell may read it.
  if (!input.setMode(mode, message == nullptr ? TCSADRAIN : TCSAFLUSH)) {
    message = "SetConsoleMode failed";
  }
  if (signals.take()) {
    message = "Interrupted";
  }
  if (message != nullptr) {
    std::signal(SIGHUP, SIG_IGN);  // a terminal that hung up may send it late
  }
  return message;
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
  termios before{};
  if (!input.mode(before)) {
    return "GetConsoleMode failed";
  }
  // A background process is stopped here, while signals can still end it.
  if (!input.setMode(before, TCSADRAIN)) {
    return "SetConsoleMode failed";
  }
  const char* message = ask(input, output, before, buffer, capacity, prompt);
  if (message != nullptr) {
    wipe(buffer, capacity);
  }
  return message;
}

}  // namespace morvex
