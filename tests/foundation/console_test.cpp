#include "foundation/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace {

bool echoes(int terminal) {
  termios mode{};
  return tcgetattr(terminal, &mode) == 0 && (mode.c_lflag & ECHO) != 0 && (mode.c_lflag & ISIG) != 0;
}

// Asks with the standard streams redirected, and says on the terminal how that went.
[[noreturn]] void ask() {
  const int terminal = dup(0), null = open("/dev/null", O_RDWR);
  for (const int stream : {0, 1, 2}) {
    dup2(null, stream);
  }
  char buffer[64];
  int waiting = 0;
  const char* message = console_read_password(buffer, sizeof buffer, ">");
  std::string report = message == nullptr ? std::string("answer ") + buffer : message;
  ioctl(terminal, FIONREAD, &waiting);
  report += echoes(terminal) ? ", echo on" : "";
  report += waiting != 0 ? ", something left for the shell" : "";
  _exit(write(terminal, report.data(), report.size()) < 0);
}

// Types the keys once the prompt is up. Gives what shows behind it.
std::string type(const std::string& keys) {
  int master = -1;
  if (forkpty(&master, nullptr, nullptr, nullptr) == 0) {
    ask();
  }
  char c = 0;
  EXPECT_TRUE(read(master, &c, 1) == 1 && c == '>' && !echoes(master));
  EXPECT_EQ(write(master, keys.data(), keys.size()), std::ssize(keys));
  std::string screen;
  while (read(master, &c, 1) == 1) {
    screen += c;
  }
  close(master);
  wait(nullptr);
  return screen;
}

}  // namespace

TEST(Console, AnswersAreTakenUnseenAndTheEchoReturns) {
  const std::string longest(63, 'p');
  for (const auto& [keys, outcome] : {std::pair<std::string, std::string>{"secret\n", "answer secret"},
                                      {"\r", "answer "},
                                      {"sed\177cret \n", "answer secret "},
                                      {longest + "\n", "answer " + longest},
                                      {longest + "p\n", "The answer is too long"},
                                      {std::string(6000, 'p') + "\n", "The answer is too long"},
                                      {"sec\x03", "Interrupted"},
                                      {"\x1c", "Interrupted"},
                                      {"\x16\x03 quoted\n", "Interrupted"},
                                      {"\x04", "read returned 0"}}) {
    EXPECT_EQ(type(keys), "\r\n" + outcome + ", echo on");
  }
  const auto askWithoutTerminal = [] {
    char buffer[8];
    setsid();
    _exit(console_read_password(buffer, sizeof buffer, ">") == std::string("Could not open CONIN$") ? 0 : 1);
  };
  EXPECT_EXIT(askWithoutTerminal(), testing::ExitedWithCode(0), "");
}
