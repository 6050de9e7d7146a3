#include "protocol/ber_primitives.h"

#include <gtest/gtest.h>

#include <cmath>

#include "protocol/ber_error.h"
#include "protocol/messages/time_series.h"
#include "support/wire.h"

using namespace morvex;

using namespace protocol;

namespace {

// Gives a view what stands behind the tag and the length of an item, in pieces of at most this size.
void fill(BerPrimitive&& view, std::string_view item, std::size_t piece = 1U << 30U) {
  const auto bytes = bytesOf(item);
  std::span<const std::uint8_t> left = std::span(bytes).subspan(bytes[1] == 0x82 ? 4 : 2);
  view.setLength(left.size());
  while (!left.empty()) {
    const std::size_t count = std::min(piece, left.size());
    view.addData(left.data(), count);
    left = left.subspan(count);
  }
  view.readDone();
}

// What the bytes give: taken whole, and byte by byte, which must be the same.
template <class T, class View>
T readBothWays(std::string_view hex, View view) {
  T whole{};
  T pieces{};
  fill(view(&whole), hex);
  fill(view(&pieces), hex, 1);
  EXPECT_TRUE(whole == pieces || whole != whole) << hex;
  return whole;
}

template <class T, class View>
void expectItem(T value, std::string_view hex, View view) {
  EXPECT_EQ(writtenHex(view(&value)), plainHex(hex));
  EXPECT_TRUE(readBothWays<T>(hex, view) == value) << hex;
}

template <class T>
auto integer(T* member) {
  return BerIntegerTemplate<T>(member, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
}
template <class T>
T integerOf(std::string_view hex) {
  return readBothWays<T>(hex, integer<T>);
}

auto real(double* member) { return BerReal(member); }
double realOf(std::string_view hex) { return readBothWays<double>(hex, real); }

}  // namespace

TEST(BerInteger, TravelsInTheShortestForm) {
  std::string items;
  for (const std::int32_t value : {0, 127, 128, -1, -128, -129, -32768, 65535, INT32_MAX, INT32_MIN}) {
    std::int64_t same = value;
    const std::string item = writtenHex(integer(&same));
    expectItem<std::int32_t>(value, item, integer<std::int32_t>);
    EXPECT_EQ(integerOf<std::int64_t>(item), value);
    items += item + "  ";
  }
  EXPECT_EQ(items,
            "02 01 00  02 01 7F  02 02 00 80  02 01 FF  02 01 80  02 02 FF 7F  02 02 80 00  "
            "02 03 00 FF FF  02 04 7F FF FF FF  02 04 80 00 00 00  ");
  expectItem(0xFFFFFFFF, "02 05 00 FF FF FF FF", integer<std::uint32_t>);
  expectItem(~std::uint64_t{0}, "02 09 00 FF FF FF FF FF FF FF FF", integer<std::uint64_t>);
  expectItem(INT64_MIN, "02 08 80 00 00 00 00 00 00 00", integer<std::int64_t>);
}

TEST(BerInteger, ReadsWhatOthersWrite) {
  EXPECT_EQ(integerOf<std::int32_t>("02 00"), 0);
  EXPECT_EQ(integerOf<std::int32_t>("02 04 00 00 00 05"), 5);
  EXPECT_EQ(integerOf<std::uint32_t>("02 01 FF"), 255U);
  EXPECT_EQ(integerOf<std::uint32_t>("02 04 FF FF FF FF"), 0xFFFFFFFFU);
  EXPECT_EQ(textOf<EBer>([] { integerOf<std::int32_t>("02 05 00 00 00 00 01"); }),
            "Data value exceeds maximum allowed length 5 > 4");
}

TEST(BerReal, TravelsAsTextOrASpecialForm) {
  expectItem(1.5, "09 0D 00 '1.500000e+00'", real);
  expectItem(1e300, "09 0E 00 '1.000000e+300'", real);
  expectItem(HUGE_VAL, "09 01 40", real);
  expectItem(-HUGE_VAL, "09 01 41", real);
  expectItem(-0.0, "09 00", real);
  // What is lost on the way: digits beyond six, and NaN altogether.
  double value = 123456789;
  EXPECT_EQ(writtenHex(BerReal(&value)), plainHex("09 0D 00 '1.234568e+08'"));
  value = std::nan("");
  EXPECT_EQ(writtenHex(BerReal(&value)), "09 01 60");
  EXPECT_EQ(realOf("09 01 60"), 0.0);
}

TEST(BerReal, ReadsTextAsTheCLibraryDoes) {
  EXPECT_EQ(realOf("09 01 00"), 0.0);
  EXPECT_EQ(realOf("09 06 00 ' +2.5'"), 2.5);
  EXPECT_EQ(realOf("09 06 00 '1e999'"), HUGE_VAL);
  for (const char* hex : {"09 05 00 '1.5x'", "09 05 00 '1.5 '", "09 05 00 '1.5' 00", "09 02 00 '-'"}) {
    EXPECT_EQ(textOf<EBer>([&] { realOf(hex); }), "Parse error in real number") << hex;
  }
  EXPECT_EQ(textOf<EBer>([] { realOf("09 02 03 31"); }), "Unsupported real number format revceived");
  EXPECT_EQ(textOf<EBer>([] { BerReal().setLength(61); }),
            "Data value exceeds maximum allowed length 61 > 60");
}

TEST(BerBoolean, IsTrueForAnyByteButZero) {
  const auto view = [](bool* member) { return BerBoolean(member); };
  expectItem(true, "01 01 01", view);
  expectItem(false, "01 01 00", view);
  EXPECT_TRUE(!readBothWays<bool>("01 00", view) && readBothWays<bool>("01 01 80", view));
}

TEST(BerEnumerated, LeavesZeroEmptyAndGivesNegativesFourBytes) {
  const auto view = [](Severity* member) { return BerEnumerated<Severity>(member); };
  expectItem(Severity{0}, "0A 00", view);
  expectItem(Severity{128}, "0A 02 00 80", view);
  expectItem(Severity{-1}, "0A 04 FF FF FF FF", view);
  EXPECT_EQ(readBothWays<Severity>("0A 01 FF", view), Severity{-1});
}

TEST(BerBigNum, IsAMagnitudeWithoutSign) {
  const auto view = [](BigNum* member) { return BerBigNum(member); };
  expectItem(BigNum(0), "02 00", view);
  expectItem(BigNum(255), "02 01 FF", view);
  const std::string longest = "02 82 04 10 8" + std::string(2079, '1');
  expectItem(readBothWays<BigNum>(longest, view), longest, view);
  EXPECT_EQ(readBothWays<BigNum>("02 03 00 01 00", view), BigNum(256));
  EXPECT_EQ(textOf<EBer>([&] { readBothWays<BigNum>(longest + "00", view); }),
            "Data value exceeds maximum allowed length 1041 > 1040");
}

TEST(BerString, HoldsAnyBytesUpToItsLimitAndNullNone) {
  const auto view = [](std::string* member) { return BerString(member, 3); };
  std::string value{'\0', '\xFF', 'A'};
  expectItem(value, "04 03 00 FF 41", view);
  EXPECT_EQ(writtenHex(view(&value), true), "16 03 00 FF 41");
  EXPECT_EQ(textOf<EBer>([&] { view(&value).setLength(4294967295); }),
            "String exceeds allowed length 4294967295 > 3");
  EXPECT_EQ(textOf<EBer>([] { BerNull().setLength(1); }), "Data value exceeds maximum allowed length 1 > 0");
}

TEST(BerShortValue, IsComparedByWhatWasReceivedAlsoInCopies) {
  const auto received = [](std::string_view hex) {
    BerIntegerTemplate<std::int32_t> value;
    fill(std::move(value), hex);  // the input is gone behind this
    return value.clone();
  };
  const auto shortForm = received("02 01 05"), longForm = received("02 02 00 05"),
             larger = received("02 01 06");
  EXPECT_TRUE(*shortForm == *received("02 01 05") && shortForm->less(*longForm) && *longForm > *shortForm);
  EXPECT_FALSE(*shortForm == *longForm || *shortForm == *larger || *shortForm < *larger ||
               *larger > *shortForm);
  EXPECT_FALSE(*shortForm == BerNull() || BerReal() < *shortForm);
  EXPECT_EQ(writtenHex(*longForm), "02 01 05");
}

TEST(SkipperDeathTest, CanOnlySwallow) {
  const BerPrimitiveSkipper primitive(16);
  const BerConstructedSkipper constructed(129);
  EXPECT_TRUE(primitive == BerPrimitiveSkipper(32) && !(primitive == constructed));
  EXPECT_DEATH(writtenHex(primitive), "^Assertion failed: BerPrimitiveSkipper::write invoked");
  EXPECT_DEATH(writtenHex(constructed), "^Assertion failed: BerConstructedSkipper::write invoked");
  EXPECT_DEATH((void)(primitive < primitive), "Cannot call operator< for BerPrimitiveSkipper");
  EXPECT_DEATH((void)(constructed > constructed), "Cannot call operator> for BerConstructedSkipper");
}
