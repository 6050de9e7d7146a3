#include "protocol/leaf.h"

#include <gtest/gtest.h>

#include <cmath>

#include "protocol/messages/time_series.h"
#include "support/reading.h"

using namespace morvex;
using namespace protocol;

namespace {

// A message of one field.
template <class T, Bounds kBounds = Bounds{}>
struct Holder final : Message<Holder<T, kBounds>> {
  T value{};
  static constexpr Field kFields[] = {field<&Holder::value>("value", kBounds)};
  static constexpr Schema kSchema{.tag = application(0), .fields = kFields};
};

std::string holding(std::string_view item) { return "60 80" + std::string(item) + "00 00"; }

template <class T, Bounds kBounds = Bounds{}>
T read(std::string_view item, bool legacy = false) {
  const auto message = decodedHoweverCut(holding(item), legacy, Only<Holder<T, kBounds>>());
  return dynamic_cast<Holder<T, kBounds>&>(*message).value;
}

template <class T>
void expectItem(const T& value, std::string_view hex) {
  EXPECT_EQ(itemOf(value), plainHex(hex));
  EXPECT_TRUE(read<T>(hex) == value) << hex;
}

template <class T, Bounds kBounds = Bounds{}>
std::string refusal(std::string_view item) {
  return outcomeOf(holding(item), false, Only<Holder<T, kBounds>>()).refusal;
}

}  // namespace

TEST(Integer, TravelsInTheShortestForm) {
  std::string items;
  for (const std::int32_t value : {0, 127, 128, -1, -128, -129, -32768, 65535, INT32_MAX, INT32_MIN}) {
    const std::string item = itemOf(std::int64_t{value});
    expectItem(value, item);
    EXPECT_EQ(read<std::int64_t>(item), value);
    items += item + "  ";
  }
  EXPECT_EQ(items,
            "02 01 00  02 01 7F  02 02 00 80  02 01 FF  02 01 80  02 02 FF 7F  02 02 80 00  "
            "02 03 00 FF FF  02 04 7F FF FF FF  02 04 80 00 00 00  ");
  expectItem(0xFFFFFFFF, "02 05 00 FF FF FF FF");
  expectItem(~std::uint64_t{0}, "02 09 00 FF FF FF FF FF FF FF FF");
  expectItem(INT64_MIN, "02 08 80 00 00 00 00 00 00 00");
  // What others write.
  EXPECT_EQ(read<std::int32_t>("02 00"), 0);
  EXPECT_EQ(read<std::int32_t>("02 04 00 00 00 05"), 5);
  EXPECT_EQ(read<std::uint32_t>("02 01 FF"), 255U);
  EXPECT_EQ(read<std::uint32_t>("02 04 FF FF FF FF"), 0xFFFFFFFFU);
}

TEST(Real, TravelsAsTextOrASpecialForm) {
  expectItem(1.5, "09 0D 00 '1.500000e+00'");
  expectItem(1e300, "09 0E 00 '1.000000e+300'");
  expectItem(HUGE_VAL, "09 01 40");
  expectItem(-HUGE_VAL, "09 01 41");
  expectItem(-0.0, "09 00");
  // What is lost on the way: digits beyond six, and NaN altogether.
  EXPECT_EQ(itemOf(123456789.0), plainHex("09 0D 00 '1.234568e+08'"));
  EXPECT_EQ(itemOf(std::nan("")), "09 01 60");
  EXPECT_EQ(read<double>("09 01 60"), 0.0);
  // Texts are read as by the C library.
  EXPECT_EQ(read<double>("09 01 00"), 0.0);
  EXPECT_EQ(read<double>("09 06 00 ' +2.5'"), 2.5);
  EXPECT_EQ(read<double>("09 06 00 '1e999'"), HUGE_VAL);
}

// The tests of the catalogue and of messages have limits of integers and strings.
TEST(Leaf, RefusesWithReason) {
  using Nullables = Nullable<std::uint32_t>;
  const std::string longest = "02 82 04 10 8" + std::string(2079, '1'), sixty(120, '0');
  const std::pair<std::string, std::string> rows[] = {
      {refusal<Severity>("0A 05 00 00 00 00 01"), "Data value exceeds maximum allowed length 5 > 4"},
      {refusal<bool>("01 02 00 01"), "Data value exceeds maximum allowed length 2 > 1"},
      {refusal<Nullables>("05 01 00"), "Data value exceeds maximum allowed length 1 > 0"},
      {refusal<double>("09 3D 00" + sixty), "Data value exceeds maximum allowed length 61 > 60"},
      {refusal<double>("09 02 03 31"), "Unsupported real number format revceived"},
      {refusal<double>("09 05 00 '1.5x'"), "Parse error in real number"},
      {refusal<double>("09 05 00 '1.5 '"), "Parse error in real number"},
      {refusal<double>("09 05 00 '1.5' 00"), "Parse error in real number"},
      {refusal<double>("09 02 00 '-'"), "Parse error in real number"},
      {refusal<BigNum>("02 82 04 11"), "Data value exceeds maximum allowed length 1041 > 1040"},
      {refusal<std::string, upTo(3)>("04 04 'abcd'"), "String exceeds allowed length 4 > 3"},
      {refusal<std::string, upTo(3)>("04 84 FF FF FF FF"), "String exceeds allowed length 4294967295 > 3"},
      {refusal<std::string, upTo(3)>("16 01 'a'"),
       "Tag mismatch, got 176 expected BE_STRING_CURRENT, BerReader: Holder<std::string, Bounds{}>:1"},
      {textOf<EBer>([&] { itemOf(BigNum::multiply(read<BigNum>(longest), BigNum(256))); }),
       "Data value exceeds maximum allowed length 1044 > 1040"},
  };
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(text.substr(0, text.find("Holder")), expected.substr(0, expected.find("Holder")));
  }
}

TEST(Leaf, OthersHaveTheseForms) {
  expectItem(true, "01 01 01");
  expectItem(false, "01 01 00");
  EXPECT_TRUE(!read<bool>("01 00") && read<bool>("01 01 80"));
  expectItem(Severity{0}, "0A 00");
  expectItem(Severity{128}, "0A 02 00 80");
  expectItem(Severity{-1}, "0A 04 FF FF FF FF");
  EXPECT_EQ(read<Severity>("0A 01 FF"), Severity{-1});
  expectItem(BigNum(0), "02 00");  // a magnitude without a sign
  expectItem(BigNum(255), "02 01 FF");
  const std::string longest = "02 82 04 10 8" + std::string(2079, '1');
  expectItem(read<BigNum>(longest), longest);
  EXPECT_EQ(read<BigNum>("02 03 00 01 00"), BigNum(256));
  const std::string bytes{'\0', '\xFF', 'A'};
  EXPECT_EQ(itemOf(bytes, upTo(3)), "04 03 00 FF 41");
  EXPECT_EQ(itemOf(bytes, upTo(3), true), "16 03 00 FF 41");
  EXPECT_TRUE((read<std::string, upTo(3)>("04 03 00 FF 41") == bytes));
  EXPECT_TRUE((read<std::string, upTo(3)>("16 03 00 FF 41", true) == bytes));
  EXPECT_FALSE(read<Nullable<std::uint32_t>>("05 00").isSet());
  EXPECT_EQ(read<Nullable<std::uint32_t>>("02 01 07").value(), 7U);
}
