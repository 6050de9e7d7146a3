#include "query/tql/property_codec.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "support/wire.h"

using namespace morvex;

namespace {

using tql::Property;
using Bytes = std::vector<std::uint8_t>;

template <class Value>
Property encoded(std::uint32_t typeWord, const Value& value) {
  Property property;
  tql::encode(property, "p", typeWord, value);
  return property;
}

template <class Value>
void expectReads(const Property& property, const Value& value) {
  Value result{};
  tql::decode(property, property.typeWord | tql::kConst, result);  // flags do not count
  EXPECT_TRUE(result == value);
}

template <class Value>
std::string refusalOf(const Property& property, std::uint32_t wanted, const Value& untouched) {
  Value result = untouched;
  try {
    tql::decode(property, wanted, result);
  } catch (const errors::tql& fault) {
    EXPECT_TRUE(fault.code == ErrorCode::illegalType && result == untouched);
    return fault.text();
  }
  return "nothing thrown";
}

// Commands read and write the other types.
TEST(PropertyCodec, ReadsWhatNoCommandDoes) {
  expectReads(encoded(tql::kLob, Bytes{7}), Bytes{7});
  expectReads(encoded(tql::kDate, -7), std::int64_t{-7});
  EXPECT_EQ(refusalOf(encoded(0x10005U, 1U), 0x10009, 0U),
            "Type mismatch for property: p, wanted 65545 got 65541");
  EXPECT_EQ(refusalOf(encoded(tql::kReal, 1.0), tql::kBoolean, true), "Type mismatch for property: p");
  Property property;
  tql::encodeNull(property, "p", tql::kLob | tql::kInherited);
  EXPECT_EQ(refusalOf(property, tql::kLob, Bytes{1}), "Null given for lob property: p");
  property.typeWord = tql::kSigned64;
  property.data.emplace<protocol::SignedInt64Prop>().value = INT64_MIN;
  expectReads(property, INT64_MIN);
}

TEST(PropertyCodec, ReplacesAllThreePartsAtOnce) {
  Property property = encoded(tql::kBigNum, BigNum(258));
  tql::encode(property, "q", tql::kBigNum | tql::kReadOnly, property.data.as<protocol::BigNumProp>()->value);
  EXPECT_EQ(writtenHex(property), plainHex("30 80 04 01 'q' 02 03 10 00 12 AB 80 02 02 01 02 00 00 00 00"));
}

}  // namespace
