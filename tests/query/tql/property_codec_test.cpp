#include "query/tql/property_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "foundation/class_name.h"
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

bool same(const auto& left, const auto& right) {
  if constexpr (requires { left.begin(); }) {
    return std::ranges::equal(left, right);
  } else {
    return left == right;
  }
}

template <class Value>
Property encoded(std::uint32_t typeWord, const Value& value) {
  Property property;
  tql::encode(property, "p", typeWord, value);
  return property;
}

template <class Prop, class Value>
Property received(std::uint32_t typeWord, Value value) {
  Property property = encoded(tql::kId, std::string());
  property.typeWord = typeWord;
  property.data.emplace<Prop>().value = value;
  return property;
}

template <class Value>
std::string refusalOf(const Property& property, std::uint32_t wanted, Value result) {
  const Value untouched = result;
  try {
    tql::decode(property, wanted, result);
  } catch (const errors::tql& fault) {
    EXPECT_EQ(fault.code, ErrorCode::illegalType);
    EXPECT_TRUE(same(result, untouched));
    return fault.text();
  }
  return "nothing thrown";
}

// The property is of that class and reads back, whatever the flags; a null and another type are refused.
template <class Value, class Result = Value>
void expectReads(Property property, const Value& value, const std::string& valueClass,
                 const std::string& kind) {
  const protocol::BerValue& held = *property.data;
  EXPECT_EQ(className(typeid(held)), valueClass);
  const std::uint32_t wanted = property.typeWord;
  property.typeWord |= tql::kConst | tql::kInherited;
  Result result{};
  tql::decode(property, wanted | tql::kComputed, result);
  EXPECT_TRUE(same(result, value)) << kind;

  Result untouched{};
  if constexpr (std::is_same_v<Result, Value>) {
    untouched = value;
  }
  tql::encodeNull(property, "p", wanted);
  EXPECT_EQ(refusalOf(property, wanted, untouched), "Null given for " + kind + " property: p");
  tql::encodeNull(property, "p", tql::kAction | tql::kReadOnly);
  const std::string types = ", wanted " + std::to_string(wanted) + " got 9";
  EXPECT_EQ(refusalOf(property, wanted | tql::kConst, untouched),
            "Type mismatch for property: p" + (wanted == tql::kBoolean ? "" : types));
}

TEST(PropertyCodec, ReadsBackWhatItEncoded) {
  const std::string text("x\0y", 3);
  expectReads(encoded(tql::kBoolean, true), true, "BooleanProp", "boolean");
  expectReads(encoded(tql::kReal, -2.5), -2.5, "RealProp", "real");
  expectReads(encoded(tql::kSignedInteger, -7), -7, "SignedIntProp", "integer");
  for (const std::uint32_t type : {2U, 10U, 13U, 0x10000U, 0x10015U}) {
    expectReads(encoded(type, 0xFFFFFFFFU), 0xFFFFFFFFU, "UnsignedIntProp", "unsigned");
  }
  for (const std::uint32_t type : {6U, 7U, 15U}) {
    expectReads<std::string, std::string_view>(encoded(type, text), text, "StringProp", "string");
  }
  expectReads<Strings, View<std::string>>(encoded(tql::kIdSet, Strings{"b", "a"}), Strings{"b", "a"},
                                          "StringListProp", "slist");
  expectReads<Strings, View<std::string>>(encoded(tql::kStringList, Strings{}), Strings{}, "StringListProp",
                                          "slist");
  expectReads(encoded(tql::kBlob, Bytes{0, 255}), Bytes{0, 255}, "BlobProp", "blob");
  expectReads(encoded(tql::kLob, Bytes{7}), Bytes{7}, "LobProp", "lob");
  expectReads<Gids, View<std::uint32_t>>(encoded(tql::kGidList, Gids{9, 0}), Gids{9, 0},
                                         "UnsignedIntListProp", "unsigned int list");
  expectReads(encoded(tql::kDate, -7), std::int64_t{-7}, "SignedIntProp", "time");
  expectReads(received<protocol::SignedInt64Prop>(tql::kSigned64, INT64_MIN), INT64_MIN, "SignedInt64Prop",
              "integer");
  expectReads(received<protocol::UnsignedInt64Prop>(tql::kUnsigned64, UINT64_MAX), UINT64_MAX,
              "UnsignedInt64Prop", "integer");
  EXPECT_EQ(refusalOf(encoded(0x10005U, 1U), 0x10009, 0U),
            "Type mismatch for property: p, wanted 65545 got 65541");
}

TEST(PropertyCodec, ReplacesAllThreePartsAtOnce) {
  Property property = encoded(tql::kBigNum, BigNum(258));
  tql::encode(property, "q", tql::kBigNum | tql::kReadOnly, property.data.as<protocol::BigNumProp>()->value);
  EXPECT_EQ(writtenHex(property), plainHex("30 80 04 01 'q' 02 03 10 00 12 AB 80 02 02 01 02 00 00 00 00"));
  tql::encodeNull(property, "n", 0x80000006);
  EXPECT_EQ(writtenHex(property), plainHex("30 80 04 01 'n' 02 05 00 80 00 00 06 A6 80 00 00 00 00"));
}

template <class Value>
std::function<void()> encoding(std::uint32_t typeWord) {
  return [typeWord] { encoded(typeWord, Value{}); };
}

template <class Value>
std::function<void()> decoding(std::uint32_t wanted) {
  return [wanted] { refusalOf(encoded(tql::kBoolean, true), wanted, Value{}); };
}

TEST(PropertyCodecDeathTest, ATypeOfAnotherOverloadIsADefect) {
  const std::pair<std::function<void()>, const char*> rows[] = {
      {encoding<bool>(0x10001), "encode bool: p"},
      {encoding<double>(tql::kBoolean), "encode double: p"},
      {encoding<std::int32_t>(tql::kUnsignedInteger), "encode int: p"},
      {encoding<std::uint32_t>(tql::kSignedInteger), "encode unsigned int: p"},
      {encoding<std::string>(tql::kAction), "encode string: p"},
      {encoding<Strings>(tql::kString), "encode list<string>: p"},
      {encoding<Gids>(tql::kStringList), "encode vector<uint32_t>: p"},
      {encoding<BigNum>(tql::kUnsigned64), "encode bignum: p"},
      {encoding<Bytes>(tql::kString), "encode vector<uint8_t>: p"},
      {decoding<bool>(tql::kReal), "decode bool"},
      {decoding<double>(tql::kSignedInteger), "decode real"},
      {decoding<std::int32_t>(tql::kDate), "decode int :p"},
      {decoding<std::uint32_t>(tql::kSignedInteger), "decode uint/enum/index"},
      {decoding<std::string_view>(tql::kIdSet), "decode string/object"},
      {decoding<std::int64_t>(tql::kSignedInteger), "decode int64 :p"},
      {decoding<std::uint64_t>(tql::kSigned64), "decode uint64 :p"},
      {decoding<View<std::string>>(tql::kGidList), "decode objectset"},
      {decoding<Bytes>(tql::kStringList), "decode vector<uint8_t>"},
      {decoding<View<std::uint32_t>>(tql::kIdSet), "decode list<uint32_t>"},
  };
  for (const auto& [action, label] : rows) {
    EXPECT_DEATH(action(),
                 testing::Eq(std::string("Assertion failed: Type mismatch in tql::") + label + "\n"));
  }
}

}  // namespace
