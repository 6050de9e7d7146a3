#include "protocol/buffer_io.h"

#include <gtest/gtest.h>

#include "support/scripted_io.h"

using namespace morvex;

namespace {

constexpr std::size_t kSize = 65536;

TEST(BufferIo, SendsFullBuffersAtOnceAndTheRestWhenFlushed) {
  const struct {
    std::vector<std::size_t> writes;
    const char* atOnce;
    const char* flushed;
  } rows[] = {
      {{}, "", "f"},
      {{1, 0, 2}, "", "wf"},
      {{kSize - 1}, "", "wf"},
      {{kSize - 1, 1}, "w", "wf"},
      {{kSize - 1, 2}, "w", "wwf"},
      {{3 * kSize + 5}, "www", "wwwwf"},
  };
  for (const auto& row : rows) {
    Script script;
    old_protocol::BufferIo io(std::make_unique<ScriptedIo>(script));
    std::vector<std::uint8_t> all, sent;
    for (const std::size_t size : row.writes) {
      std::vector<std::uint8_t> bytes(size);
      std::ranges::generate(bytes, [next = all.size()]() mutable { return std::uint8_t(++next % 251); });
      io.write(bytes.data(), size);
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
    EXPECT_EQ(script.calls, row.atOnce);
    io.flush();
    EXPECT_EQ(script.calls, row.flushed);
    for (const std::string& hex : script.written) {
      EXPECT_EQ(sent.size() % kSize, 0U) << "only the last one is short";
      const auto bytes = bytesOf(hex);
      sent.insert(sent.end(), bytes.begin(), bytes.end());
    }
    EXPECT_TRUE(sent == all);
  }
}

TEST(BufferIo, ReadsStraightFromBelowAndDropsTheUnsentAtItsEnd) {
  Script script;
  std::vector<std::uint8_t> got(4);
  {
    old_protocol::BufferIo io(std::make_unique<ScriptedIo>(script));
    script.incoming = {{1, 2, 3}};
    EXPECT_EQ(io.read(got.data(), 2), 2U);
    EXPECT_EQ(io.read(got.data() + 2, 2), 1U);
    io.write(got.data(), 1);
  }
  EXPECT_EQ(hexOf(got), "01 02 03 00");
  EXPECT_EQ(script.calls, "rr~");
}

}  // namespace
