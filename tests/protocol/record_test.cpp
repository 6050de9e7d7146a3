#include "protocol/record.h"

#include <gtest/gtest.h>

#include "protocol/messages/envelope.h"
#include "support/reading.h"

using namespace morvex;
using namespace protocol;

namespace {

using Samples = Only<SelectResp, StringListProp, SignedIntProp, CreateResp, NullProp, DataInterval, Response>;

std::unique_ptr<Record> sample(const std::string& hex) { return decoded(hex, false, Samples()); }

// A DataInterval with a list of records.
std::string records(const std::string& list) { return "30 80 A0 80 30 80" + list + "00 00 00 00 00 00"; }

}  // namespace

TEST(Record, ComparesFieldByField) {
  const std::string low = "30 08 02 01 01 02 01 01 09 00";
  const std::string high = "30 15 02 01 02 02 01 02 09 01 40 09 01 40 09 01 40 02 01 02 02 01 02";
  const std::string mixed = "30 08 02 01 02 02 01 01 09 00";
  const std::tuple<const char*, std::string, std::string, bool> rows[] = {
      {"ordered numbers", "A2 03 02 01 FF", "A2 03 02 01 00", true},
      {"every field less", "A3 06 04 01 'a' 04 01 'b'", "A3 06 04 01 'b' 04 01 'c'", true},
      {"one field equal", "A3 06 04 01 'a' 04 01 'b'", "A3 06 04 01 'b' 04 01 'b'", false},
      {"without fields", "A6 00", "A6 00", true},
      {"shorter list", "A1 05 30 03 04 01 'z'", "A1 08 30 06 04 01 'a' 04 01 'a'", true},
      {"first difference", "A1 08 30 06 04 01 'a' 04 01 'z'", "A1 08 30 06 04 01 'b' 04 01 'a'", true},
      {"records without order", records(low + high), records(mixed + high), false},
      {"union of a class without fields", "75 05 02 01 01 A1 00", "75 05 02 01 02 A1 00", true},
  };
  for (const auto& [name, leftHex, rightHex, less] : rows) {
    const auto left = sample(leftHex), right = sample(rightHex);
    EXPECT_TRUE((*left < *right) == less && (*right > *left) == less) << name;
    EXPECT_EQ(*left == *right, leftHex == rightHex) << name;
    EXPECT_EQ(*left > *right, leftHex == rightHex) << name;  // as no field says otherwise
  }
  const DataInterval empty;
  EXPECT_TRUE(empty == DataInterval() && !(empty == *sample(records(low)) || empty < *sample(records(low))));
}

TEST(Record, CopiesDeeply) {
  PathPattern original;
  original.children.resize(2);
  original.children[0].emplace().className = "B";
  std::string& constant =
      original.filter.emplace_back().emplace().prop.emplace().data.emplace<StringProp>().value;
  const PathPattern copy = original;
  EXPECT_TRUE(*original.clone() == original && copy == original);
  constant = "changed";
  EXPECT_TRUE(!(copy == original) && copy.children[0]->className == "B" && !copy.children[1]);
}

TEST(Record, DepthCostsNoStack) {
  const std::string below = deep("30 80 04 00 02 00 04 00 04 00 30 00 30 80");
  auto low = sample("A0 80 30 80" + below + deep("00 00 31 00 00 00") + "00 00 00 00");
  // One level more, and every field greater.
  const auto high = sample("A0 80 30 80" +
                           deep("30 80 04 01 'b' 02 01 02 04 01 'b' 04 01 'b'"
                                "30 09 30 07 04 01 'p' 02 00 A6 00 30 80",
                                kDepth + 1) +
                           deep("00 00 31 03 02 01 02 00 00", kDepth + 1) + "00 00 00 00");
  EXPECT_TRUE(*low < *high);
  EXPECT_FALSE(*low > *high);
  const auto copy = low->clone();
  EXPECT_TRUE(*copy == *low);
  low.reset();
  EXPECT_TRUE(
      decodedInPieces(bytesOf("A0 80 30 80" + below), SIZE_MAX, false, Samples()).empty());  // abandoned
  MemoryIo io;
  copy->write(io, false);
  EXPECT_EQ(io.bytes.size(), kDepth * 25 + 8);
}
