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

// All lines, each with a bar behind it.
static std::string linesOf(LineReader& input, std::size_t longest) {
  std::string lines;
  std::string_view line;
  while (input.next(line, longest)) {
    lines.append(line).append("|");
  }
  return input.next(line, 1000) ? "went on behind the end" : lines;
}

static std::string readError(LineReader& input) {
  return textOf<error::ESystemError>([&] { linesOf(input, 10); });
}

TEST(LineReader, CutsTheSameLinesHoweverTheInputArrives) {
  const std::string texts[] = {"\n",
                               "a\r\n\r\n\nb\r",
                               "\ra\r\r\n\0\n"s,
                               "1234\n1234\r\n1234",
                               "1\n12345\n2\n",
                               "1\n12345",
                               "1\n1234\r\r\n2\n",
                               "12345\r\n2\n",
                               ""};
  const std::string lines[] = {"|", "a|||b|", "\ra\r|\0|"s, "1234|1234|1234|", "1|", "1|", "1|", "", ""};
  for (std::size_t i = 0; i < std::size(texts) * 4; ++i) {
    TextInput input(texts[i / 4], i % 4 + 1);
    EXPECT_EQ(linesOf(input, 4), lines[i / 4]) << i;
  }
}

TEST(LineReader, LinesMayBeLongerThanABlock) {
  std::string text, lines;
  for (std::size_t i = 0; i < 200; ++i) {
    text += std::string(i * i * 16, 'x') + (i % 2 == 0 ? "\n" : "\r\n");
    lines += std::string(i * i * 16, 'x') + "|";
  }
  TextInput input(text, 10000000), endless(std::string(1000000, 'x'), 100);
  EXPECT_TRUE(linesOf(input, 199 * 199 * 16) == lines);
  EXPECT_EQ(linesOf(endless, 1023), "");
  EXPECT_EQ(endless.consumed, 1100u);  // no more than it takes to know that the line is too long
}

TEST(LineReader, WaitsForASlowWriterAndReportsInputThatCannotBeRead) {
  EXPECT_EQ(LineReader::open("/nowhere/at/all"), nullptr);
  EXPECT_EQ(readError(*LineReader::open("/")), "Error reading input: Is a directory");
  close(0), prepareProcess();
  EXPECT_EQ(readError(*LineReader::standardInput()), "Error reading input: Bad file descriptor");
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  dup2(ends[0], 0);
  std::thread writer([&] { usleep(20000), dprintf(ends[1], "one\ntw"), usleep(20000), close(ends[1]); });
  EXPECT_EQ(linesOf(*LineReader::standardInput(), 10), "one|tw|");
  writer.join();
  close(ends[0]);
}
