#include "query/tql/property_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "foundation/errors.h"
#include "support/wire.h"

using namespace morvex;

namespace {

using tql::Property;
using Bytes = std::vector<std::uint8_t>;
using Strings = std::list<std::string>;
using Gids = std::vector<std::uint32_t>;
template <class Element>
using View = std::span<const Element>;

template <class Value>
Property encoded(std::uint32_t typeWord, const Value& value) {
  Property property;
  tql::encode(property, "p", typeWord, value);
  return property;
}

template <class Prop, class Value>
Property received(std::uint32_t typeWord, Value value) {
  Property property;
  tql::encodeNull(property, "p", typeWord);
  property.data.emplace<Prop>().value = value;
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

// The other types pass through the commands.
TEST(PropertyCodec, ReadsWhatNoCommandDoes) {
  expectReads(encoded(tql::kLob, Bytes{7}), Bytes{7});
  expectReads(encoded(tql::kDate, -7), std::int64_t{-7});
  expectReads(received<protocol::SignedInt64Prop>(tql::kSigned64, INT64_MIN), INT64_MIN);
  EXPECT_EQ(refusalOf(encoded(0x10005U, 1U), 0x10009, 0U),
            "Type mismatch for property: p, wanted 65545 got 65541");
  EXPECT_EQ(refusalOf(encoded(tql::kReal, 1.0), tql::kBoolean, true), "Type mismatch for property: p");
  Property null;
  tql::encodeNull(null, "p", tql::kLob | tql::kInherited);
  EXPECT_EQ(refusalOf(null, tql::kLob, Bytes{1}), "Null given for lob property: p");
}

TEST(PropertyCodec, ReplacesAllThreePartsAtOnce) {
  Property property = encoded(tql::kBigNum, BigNum(258));
  tql::encode(property, "q", tql::kBigNum | tql::kReadOnly, property.data.as<protocol::BigNumProp>()->value);
  EXPECT_EQ(writtenHex(property), plainHex("30 80 04 01 'q' 02 03 10 00 12 AB 80 02 02 01 02 00 00 00 00"));
}

template <class Value>
std::function<void()> encoding(std::uint32_t typeWord) {
  return [typeWord] { encoded(typeWord, Value{}); };
}

template <class Value>
std::function<void()> decoding(std::uint32_t wanted) {
  return [wanted] {
    Value result{};
    tql::decode(encoded(tql::kBoolean, true), wanted, result);
  };
}

TEST(PropertyCodecDeathTest, ATypeOfAnotherOverloadIsADefect) {
  const std::pair<std::function<void()>, const char*> rows[] = {
      {encoding<bool>(0x10001), "encode bool: p"},
      {encoding<std::uint32_t>(tql::kSignedInteger), "encode unsigned int: p"},
      {encoding<Bytes>(tql::kString), "encode vector<uint8_t>: p"},
      {decoding<std::int32_t>(tql::kDate), "decode int :p"},
      {decoding<std::uint32_t>(tql::kSignedInteger), "decode uint/enum/index"},
      {decoding<View<std::string>>(tql::kGidList), "decode objectset"},
  };
  for (const auto& [action, label] : rows) {
    EXPECT_DEATH(action(),
                 testing::Eq(std::string("Assertion failed: Type mismatch in tql::") + label + "\n"));
  }
}

}  // namespace
