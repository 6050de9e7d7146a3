#include "foundation/output.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <vector>

#include "foundation/errors.h"
#include "support/text_of.h"

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
  for (MemoryOutput* output : {&file, &terminal}) {
    output->write("one");
    output->endLine();
    output->write(std::string(262140, 'x'));
  }
  EXPECT_EQ(file.blocks, std::vector{"one\n" + std::string(262140, 'x')});
  EXPECT_EQ(terminal.blocks, std::vector<std::string>{"one\n"});
  for (MemoryOutput* output : {&file, &terminal}) {
    const std::string line(300000, 'y');
    output->room(1000);  // and nothing comes of it
    output->endLine(std::copy(line.begin(), line.end(), output->room(line.size() + 1)));
  }
  EXPECT_EQ(file.blocks.back(), std::string(300000, 'y') + "\n");
  EXPECT_EQ(terminal.blocks.back(), std::string(262140, 'x') + std::string(300000, 'y') + "\n");
  terminal.write("z");
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
  unlink(name.c_str());
}
