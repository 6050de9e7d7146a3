#include "protocol/writer.h"

#include <gtest/gtest.h>

#include "support/wire.h"

using namespace morvex;
using namespace protocol;

TEST(Writer, WritesTheShortestHeaders) {
  MemoryIo tags;  // 30 is the last number of the short form
  Writer writer(tags, false);
  for (const std::uint32_t number : {20U, 30U, 31U, 127U, 128U, 0x1FFFFFFFU}) {
    writer.primitive(Tag{number << 3U | 5U, 0}, {});
  }
  EXPECT_TRUE(tags.bytes.empty()) << "small items gather";
  writer.flush();
  EXPECT_EQ(hexOf(tags.bytes),
            plainHex("B4 00  BE 00  BF 1F 00  BF 7F 00  BF 81 00 00  BF 81 FF FF FF 7F 00"));
  std::string headers;
  for (const std::size_t length : {64U, 127U, 128U, 255U, 256U, 65535U, 65536U, 0x1000000U}) {
    MemoryIo io;
    const std::vector<std::uint8_t> content(length, 0x5A);
    Writer items(io, false);
    items.primitive(BE_STRING, content);
    items.flush();
    const auto header = std::span(io.bytes).first(io.bytes.size() - length);
    EXPECT_TRUE(std::ranges::equal(std::span(io.bytes).last(length), content)) << length;
    headers += hexOf(header) + "  ";
  }
  EXPECT_EQ(
      headers,
      "04 40  04 7F  04 81 80  04 81 FF  04 82 01 00  04 82 FF FF  04 83 01 00 00  04 84 01 00 00 00  ");
}
