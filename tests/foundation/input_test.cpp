#include "foundation/input.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "foundation/errors.h"
#include "foundation/process.h"
#include "support/text_input.h"
#include "support/text_of.h"

using namespace std::string_literals;

namespace {

// All lines, each with a bar behind it.
std::string linesOf(LineReader& input, std::size_t longest) {
  std::string lines;
  for (std::string_view line; input.next(line, longest);) {
    lines.append(line).append("|");
  }
  std::string_view line;
  EXPECT_FALSE(input.next(line, 1000)) << "reading went on behind its end";
  return lines;
}

std::string readError(LineReader& input) {
  return textOf<error::ESystemError>([&] { linesOf(input, 10); });
}

[[noreturn]] void readClosedInput() {
  close(0);
  prepareProcess();
  dprintf(2, "%s", readError(*LineReader::standardInput()).c_str());
  _exit(0);
}

}  // namespace

TEST(LineReader, CutsTheSameLinesHoweverTheInputArrives) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"\n", "|"},
      {"a", "a|"},
      {"a\n\nb", "a||b|"},
      {"a\r\n\r\nb\r", "a||b|"},  // the carriage return does not need the line feed
      {"a\0b\n"s, "a\0b|"s},
      {"1234\n1234\r\n1234", "1234|1234|1234|"},
      {"1\n12345\n2\n", "1|"},  // a line too long ends it
      {"1\n12345", "1|"},
      {"1\n1234\r\r\n2\n", "1|"},
      {"12345\r\n2\n", ""},
  };
  for (const auto& [text, lines] : rows) {
    for (const std::size_t piece : {1u, 2u, 3u, 1000u}) {
      TextInput input(text, piece);
      EXPECT_EQ(linesOf(input, 4), lines) << testing::PrintToString(text) << piece;
    }
  }
}

TEST(LineReader, BlocksMayEndAnywhereAndLinesMayBeLongerThanABlock) {
  std::string text, lines;
  for (std::size_t i = 0; i < 3000; ++i) {
    const std::string line(i * i % 1024, static_cast<char>('a' + i % 26));
    text += line + (i % 2 == 0 ? "\n" : "\r\n");
    lines += line + "|";
  }
  for (const std::size_t piece : {1021u, 65536u, 10000000u}) {
    TextInput input(text, piece);
    EXPECT_EQ(linesOf(input, 1023), lines);
  }
  TextInput vast(std::string(200000, 'x') + "\r\n" + std::string(200001, 'x') + "\n", 50000);
  EXPECT_EQ(linesOf(vast, 200000), std::string(200000, 'x') + "|");
  TextInput endless(std::string(1000000, 'x'), 100);
  EXPECT_EQ(linesOf(endless, 1023), "");
  EXPECT_EQ(endless.consumed(), 1100u);  // no more than it takes to know that the line is too long
}

TEST(LineReader, InputThatCannotBeReadIsNoEnd) {
  EXPECT_EQ(LineReader::open("/nowhere/at/all"), nullptr);
  EXPECT_EQ(readError(*LineReader::open("/")), "Error reading input: Is a directory");
  EXPECT_EXIT(readClosedInput(), testing::ExitedWithCode(0), "^Error reading input: Bad file descriptor$");
}

TEST(LineReader, WaitsForASlowWriter) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const auto input = LineReader::open("/proc/self/fd/" + std::to_string(ends[0]));
  fcntl(ends[1] + 1, F_SETFL, O_NONBLOCK);  // the file's own descriptor
  std::thread writer([&] {
    usleep(20000);
    dprintf(ends[1], "one\ntw");
    usleep(20000);
    dprintf(ends[1], "o\n");
    close(ends[1]);
  });
  EXPECT_EQ(linesOf(*input, 10), "one|two|");
  writer.join();
  close(ends[0]);
}
