#include "protocol/encoding.h"

#include <gtest/gtest.h>

#include <vector>

#include "protocol/tag.h"
#include "support/wire.h"

using namespace protocol;

TEST(Encoding, WritesTagWords) {
  // clang-format off
  const struct { std::uint32_t tagWord; const char* hex; } rows[] = {
      {BE_BOOLEAN.current, "01"}, {BE_INTEGER.current, "02"}, {BE_STRING.current, "04"},
      {BE_STRING.legacy, "16"}, {BE_NULL.current, "05"}, {BE_REAL.current, "09"},
      {BE_ENUMERATED.current, "0A"}, {BE_SEQ.current, "30"}, {BE_SEQ.legacy, "20"}, {BE_SET.current, "31"},
      {BE_SET.legacy, "21"}, {163, "74"}, {247, "FE"}, {251, "7F 1F"}, {259, "7F 20"}, {1021, "BF 7F"},
      {1029, "BF 81 00"}, {0xFFFFFFFF, "FF 81 FF FF FF 7F"}};
  // clang-format on
  for (const auto& row : rows) {
    MemoryIo io;
    writeOpening(io, row.tagWord);
    EXPECT_EQ(hexOf(io.bytes), std::string(row.hex) + " 80") << row.tagWord;
  }
}

TEST(Encoding, WritesTheShortestLength) {
  // clang-format off
  const struct { std::size_t length; const char* hex; } rows[] = {
      {0, "04 00"}, {64, "04 40"}, {65, "04 41"}, {127, "04 7F"}, {128, "04 81 80"}, {255, "04 81 FF"},
      {256, "04 82 01 00"}, {65535, "04 82 FF FF"}, {65536, "04 83 01 00 00"}};
  // clang-format on
  for (const auto& row : rows) {
    MemoryIo io;
    writePrimitive(io, BE_STRING.current, std::vector<std::uint8_t>(row.length, 0x5A));
    std::vector<std::uint8_t> expected = bytesOf(row.hex);
    expected.resize(expected.size() + row.length, 0x5A);
    EXPECT_EQ(io.bytes, expected) << row.length;
  }
}
