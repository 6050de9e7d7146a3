#include "platform/output.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "foundation/errors.h"
#include "support/text_of.h"

using namespace morvex;

namespace {

struct MemoryOutput : Output {
  explicit MemoryOutput(bool interactive) { interactive_ = interactive; }
  void drain(std::string_view block) override {
    blocks.emplace_back(block);
    if (broken) {
      throwSystemError("broken");
    }
  }
  std::vector<std::string> blocks;
  bool broken = false;
};

}  // namespace

TEST(Output, TravelsInBlocksUnlessInteractive) {
  MemoryOutput file(false), terminal(true);
  const std::string large(1000000, 'x');  // longer than any block
  for (MemoryOutput* output : {&file, &terminal}) {
    output->write("one");
    output->endLine();
    output->write("two");
    output->room(1000);  // which stays unused
    output->endLine(std::copy(large.begin(), large.end(), output->room(large.size() + 1)));
    output->write("three");
  }
  EXPECT_TRUE(file.blocks == std::vector{"one\ntwo" + large + "\n"});
  EXPECT_TRUE((terminal.blocks == std::vector{std::string("one\n"), "two" + large + "\n"}));
  file.write(large);
  EXPECT_TRUE(file.blocks.back() == "three" + large);
  terminal.broken = true;
  EXPECT_EQ(textOf<error::ESystemError>([&] { terminal.flush(); }), "broken");
  terminal.flush();  // what failed is not written again
  EXPECT_EQ(terminal.blocks.size(), 3u);
}

TEST(OutputFile, ReplacesWhatWasThere) {
  const std::string name = testing::TempDir() + "output_test.txt";
  std::ofstream(name) << "a longer text that was there before";
  const auto file = OutputFile::create(name);
  file->write("new");
  file->close();
  std::ifstream written(name);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), "new");
  std::remove(name.c_str());
}
