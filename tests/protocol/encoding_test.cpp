#include "protocol/encoding.h"

#include <gtest/gtest.h>

#include "support/wire.h"

using namespace protocol;

TEST(Encoding, WritesTheShortestHeaderAndShortItemsAtOnce) {
  const struct {
    std::uint32_t tagWord;
    std::size_t length;
    const char* header;
  } rows[] = {
      {163, 0, "74 00"},
      {247, 0, "FE 00"},      // number 30, the last of the short form
      {251, 64, "7F 1F 40"},  // number 31
      {127 * 8 + 5, 0, "BF 7F 00"},
      {128 * 8 + 5, 0, "BF 81 00 00"},
      {0xFFFFFFFF, 0, "FF 81 FF FF FF 7F 00"},
      {32, 127, "04 7F"},
      {32, 128, "04 81 80"},
      {32, 255, "04 81 FF"},
      {32, 256, "04 82 01 00"},
      {32, 65535, "04 82 FF FF"},
      {32, 65536, "04 83 01 00 00"},
      {32, 0x1000000, "04 84 01 00 00 00"},
  };
  for (const auto& row : rows) {
    MemoryIo io;
    const std::vector<std::uint8_t> content(row.length, 0x5A);
    writePrimitive(io, row.tagWord, content);
    std::vector<std::uint8_t> expected = bytesOf(row.header);
    expected.insert(expected.end(), content.begin(), content.end());
    EXPECT_TRUE(io.bytes == expected) << row.header;
    EXPECT_EQ(io.writes, row.length <= 64 ? 1U : 2U) << row.header;
  }
}
