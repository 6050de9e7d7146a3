#include "platform/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <tuple>

using namespace morvex;

extern "C" void faulty_system(const char* rules);

namespace {

bool echoes(int terminal) {
  termios mode{};
  return tcgetattr(terminal, &mode) == 0 && (mode.c_lflag & ECHO) != 0 && (mode.c_lflag & ISIG) != 0;
}

// Asks for a password in a system with these faults, with the standard streams redirected. Writes the outcome
// to the terminal.
[[noreturn]] void ask(const char* faults) {
  const int terminal = dup(0), null = open("/dev/null", O_RDWR);
  for (const int stream : {0, 1, 2}) {
    dup2(null, stream);
  }
  char buffer[64];
  int waiting = 0;
  signal(SIGTERM, SIG_IGN);
  faulty_system(faults);
  const char* message = console_read_password(buffer, sizeof buffer, ">");
  faulty_system("");
  std::string report = message == nullptr ? std::string("answer ") + buffer : message;
  ioctl(terminal, FIONREAD, &waiting);
  report += echoes(terminal) ? ", echo on" : "";
  report += waiting != 0 ? ", something left for the shell" : "";
  _exit(write(terminal, report.data(), report.size()) < 0);
}

// Types the keys, if any, once the prompt is up. Returns what the terminal shows after it.
std::string type(const std::string& keys, const char* faults) {
  int master = -1;
  const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
  if (child == 0) {
    ask(faults);
  }
  char c = 0;
  if (!keys.empty()) {
    EXPECT_TRUE(read(master, &c, 1) == 1 && c == '>' && !echoes(master));
    kill(child, SIGTERM);  // which the caller ignores
    EXPECT_EQ(write(master, keys.data(), keys.size()), std::ssize(keys));
  }
  std::string screen;
  while (read(master, &c, 1) == 1) {
    screen += c;
  }
  close(master);
  wait(nullptr);
  return screen;
}

}  // namespace

TEST(Console, SaysWhichCallFailedAndTheEchoReturns) {
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"open:1:0:e6", "", "Could not open CONIN$, echo on"},
      {"open:2:0:e6", "", "Could not open CONOUT$, echo on"},
      {"tcgetattr:1:0:e5", "", "GetConsoleMode failed, echo on"},
      {"tcsetattr:1:0:e5", "", "SetConsoleMode failed, echo on"},
      {"tcsetattr:2:0:e5", "", "SetConsoleMode failed, echo on"},
      {"tcsetattr:3:0:e5", "x\n", "\r\nSetConsoleMode failed"},
      {"write:1:0:e5", "", "Could not write, echo on"},
      {"write:1:0:r0", "", "Could not write, echo on"},
      {"write:2:0:e5", "x\n", "Could not write, echo on"},
      {"poll:1:0:e12", "", ">\r\nCould not read, echo on"},
      {"read:1:0:e5", "x\n", "\r\nCould not read, echo on"},
      {"tcsetattr:1:2:e4 write:1:2:e4 poll:1:2:e4 read:1:2:e4", "sed\177cret \n",
       "\r\nanswer secret , echo on"},
      {"", std::string(6000, 'p') + "\n", "\r\nThe answer is too long, echo on"},
      {"", "\x1c", "\r\nInterrupted, echo on"},
      {"", "\x16\x03 quoted\n", "\r\nInterrupted, echo on"},
      {"", "\x04", "\r\nread returned 0, echo on"}};
  for (const auto& [faults, keys, screen] : rows) {
    EXPECT_EQ(type(keys, faults), screen) << faults;
  }
}
