#include "platform/input.h"

#include <gtest/gtest.h>

#include "support/text_input.h"

using namespace morvex;

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
  EXPECT_EQ(endless.consumed, 1100u);  // reading stops when the line is known to be too long
}
