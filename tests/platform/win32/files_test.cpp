#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/input.h"
#include "platform/output.h"

using namespace morvex;

TEST(TextMode, LineFeedsGoOutWithCarriageReturnsAndComeInWithout) {
  const std::string name = testing::TempDir() + "text_mode_test.txt";
  const auto output = OutputFile::create(name);
  output->write("a\nb");
  output->endLine();
  output->close();
  std::ifstream written(name, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), "a\r\nb\r\n");
  written.close();

  std::ofstream(name, std::ios::binary) << "a\r\nb\x1a"
                                           "c\r\r\n\x1a\nd";  // Ctrl+Z does not end a file
  const auto input = LineReader::open(name);
  std::string lines;
  for (std::string_view line; input->next(line, 100);) {
    lines.append(line).append("|");
  }
  EXPECT_EQ(lines,
            "a|b\x1a"
            "c\r|\x1a|d|");
  std::remove(name.c_str());
}
