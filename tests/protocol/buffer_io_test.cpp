#include "protocol/buffer_io.h"

#include <gtest/gtest.h>

#include "support/scripted_io.h"

namespace {

constexpr std::size_t kSize = 65536;

TEST(BufferIo, SendsFullBuffersAtOnceAndTheRestWhenFlushed) {
  struct Row {
    std::vector<std::size_t> writes, atOnce, flushed;  // sizes
  };
  const Row rows[] = {
      {{}, {}, {}},
      {{1, 0, 2}, {}, {3}},
      {{kSize - 1}, {}, {kSize - 1}},
      {{kSize - 1, 1}, {kSize}, {}},
      {{kSize - 1, 2}, {kSize}, {1}},
      {{3 * kSize + 5}, {kSize, kSize, kSize}, {5}},
  };
  Script script;
  old_protocol::BufferIo io(std::make_unique<ScriptedIo>(script));
  for (const Row& row : rows) {
    script = Script();
    std::vector<std::uint8_t> all;
    for (const std::size_t size : row.writes) {
      std::vector<std::uint8_t> bytes(size);
      std::ranges::generate(bytes, [next = all.size()]() mutable { return std::uint8_t(++next % 251); });
      all.insert(all.end(), bytes.begin(), bytes.end());
      io.write(bytes.data(), size);
    }
    EXPECT_EQ(script.calls, std::string(row.atOnce.size(), 'w'));
    io.flush();
    EXPECT_EQ(script.calls, std::string(row.atOnce.size() + row.flushed.size(), 'w') + 'f');
    std::vector<std::size_t> sizes = row.atOnce;
    sizes.insert(sizes.end(), row.flushed.begin(), row.flushed.end());
    std::size_t sent = 0;
    for (std::size_t i = 0; i < script.written.size(); sent += sizes[i++]) {
      EXPECT_TRUE(script.written[i] == hexOf(std::span(all).subspan(sent, sizes[i])));
    }
  }
}

TEST(BufferIo, ReadsBelowOnlyWhenItHasNothingLeftAndDropsTheUnsentAtItsEnd) {
  Script script;
  std::vector<std::uint8_t> got(8);
  {
    old_protocol::BufferIo io(std::make_unique<ScriptedIo>(script));
    script.incoming = {{1, 2, 3}, {4}};
    EXPECT_EQ(io.read(got.data(), 2), 2U);
    EXPECT_EQ(io.read(got.data() + 2, 6), 1U);
    EXPECT_EQ(script.calls, "r");
    EXPECT_EQ(io.read(got.data() + 3, 5), 1U);
    EXPECT_EQ(textOf<error::ESystemError>([&] { io.read(got.data(), 1); }), "the peer has hung up");
    script.incoming = {{5}};
    EXPECT_EQ(io.read(got.data() + 4, 4), 1U);
    io.write(got.data(), 1);
  }
  EXPECT_EQ(hexOf(got), "01 02 03 04 05 00 00 00");
  EXPECT_EQ(script.calls, "rrrr~");
}

}  // namespace
