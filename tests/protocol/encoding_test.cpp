#include "protocol/encoding.h"

#include <gtest/gtest.h>

#include <vector>

#include "protocol/tag.h"
#include "support/wire.h"

using namespace protocol;

TEST(Encoding, WritesTagWords) {
  const struct {
    std::uint32_t tagWord;
    const char* hex;
  } rows[] = {
      {BE_BOOLEAN.current, "01"},
      {BE_INTEGER.current, "02"},
      {BE_STRING.current, "04"},
      {BE_STRING.legacy, "16"},
      {BE_NULL.current, "05"},
      {BE_REAL.current, "09"},
      {BE_ENUMERATED.current, "0A"},
      {BE_SEQ.current, "30"},
      {BE_SEQ.legacy, "20"},
      {BE_SET.current, "31"},
      {BE_SET.legacy, "21"},
      {163, "74"},
      {243, "7E"},
      {247, "FE"},     // number 30, the last of the short form
      {251, "7F 1F"},  // number 31
      {259, "7F 20"},
      {127 * 8 + 5, "BF 7F"},
      {128 * 8 + 5, "BF 81 00"},
      {0xFFFFFFFF, "FF 81 FF FF FF 7F"},
  };
  for (const auto& row : rows) {
    MemoryIo io;
    writeOpening(io, row.tagWord);
    EXPECT_EQ(hexOf(io.bytes), std::string(row.hex) + " 80") << row.tagWord;
  }
}

TEST(Encoding, WritesTheShortestLength) {
  const struct {
    std::size_t length;
    const char* hex;
  } rows[] = {
      {0, "04 00"},
      {127, "04 7F"},
      {128, "04 81 80"},
      {255, "04 81 FF"},
      {256, "04 82 01 00"},
      {65535, "04 82 FF FF"},
      {65536, "04 83 01 00 00"},
      {0x1000000, "04 84 01 00 00 00"},
  };
  for (const auto& row : rows) {
    MemoryIo io;
    writePrimitive(io, BE_STRING.current, std::vector<std::uint8_t>(row.length, 0x5A));
    const std::size_t header = bytesOf(row.hex).size();
    ASSERT_EQ(io.bytes.size(), header + row.length);
    EXPECT_EQ(hexOf(std::span(io.bytes).first(header)), row.hex);
    EXPECT_TRUE(std::all_of(io.bytes.begin() + static_cast<std::ptrdiff_t>(header), io.bytes.end(),
                            [](std::uint8_t byte) { return byte == 0x5A; }));
  }
}
