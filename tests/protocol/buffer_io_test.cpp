#include "protocol/buffer_io.h"

#include <gtest/gtest.h>

#include "support/reading.h"

using namespace morvex;

namespace {

constexpr std::size_t kSize = 65536;

TEST(BufferIo, SendsFullBuffersAtOnceAndTheRestWhenFlushed) {
  const std::tuple<std::vector<std::size_t>, std::string, std::string> rows[] = {
      {{}, "", "f"},
      {{1, 0, 2}, "", "wf"},
      {{kSize - 1}, "", "wf"},
      {{kSize - 1, 1}, "w", "wf"},
      {{kSize - 1, 2}, "w", "wwf"},
      {{3 * kSize + 5}, "www", "wwwwf"},
  };
  for (const auto& [writes, atOnce, flushed] : rows) {
    Script script;
    old_protocol::BufferIo io(std::make_unique<ScriptedIo>(script));
    std::vector<std::uint8_t> all(4 * kSize);
    std::ranges::generate(all, [next = 0]() mutable { return std::uint8_t(++next % 251); });
    std::size_t count = 0;
    for (const std::size_t size : writes) {
      io.write(all.data() + count, size);
      count += size;
    }
    EXPECT_EQ(script.calls, atOnce);
    io.flush();
    EXPECT_EQ(script.calls, flushed);
    for (std::span left = std::span(all).first(count); const std::string& hex : script.written) {
      EXPECT_TRUE(hex == hexOf(left.first(std::min(left.size(), kSize)))) << "only the last one is short";
      left = left.subspan(std::min(left.size(), kSize));
    }
  }
}

}  // namespace
