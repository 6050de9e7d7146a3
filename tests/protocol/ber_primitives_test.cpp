#include "protocol/ber_primitives.h"

#include <gtest/gtest.h>

#include <cmath>

#include "protocol/ber_error.h"
#include "protocol/messages/time_series.h"
#include "support/ber_driver.h"
#include "support/wire.h"

using namespace protocol;

namespace {

template <class View>
void fill(View&& view, std::string_view hex, std::size_t piece = 1U << 30U) {
  const auto input = bytesOf(hex);
  BerDriver(input, false, piece).fill(view);
}

// What the bytes give: taken whole, and byte by byte, which must be the same.
template <class T, class View>
T readBothWays(std::string_view hex, View view) {
  T whole{};
  T pieces{};
  fill(view(&whole), hex);
  fill(view(&pieces), hex, 1);
  EXPECT_TRUE(std::equal_to<T>()(whole, pieces) || whole != whole) << hex;
  return whole;
}

template <class T>
auto integerView(T low = std::numeric_limits<T>::min(), T high = std::numeric_limits<T>::max()) {
  return [=](T* member) { return BerIntegerTemplate<T>(member, low, high); };
}

template <class T>
void expectInteger(T value, const char* hex) {
  EXPECT_EQ(writtenHex(integerView<T>()(&value)), hex);
  EXPECT_EQ(readBothWays<T>(hex, integerView<T>()), value) << hex;
}

double realOf(std::string_view hex) {
  return readBothWays<double>(hex, [](double* member) { return BerReal(member); });
}

}  // namespace

TEST(BerInteger, TravelsInTheShortestForm) {
  const struct {
    std::int32_t value;
    const char* hex;
  } small[] = {
      {0, "02 01 00"},
      {127, "02 01 7F"},
      {128, "02 02 00 80"},
      {-1, "02 01 FF"},
      {-128, "02 01 80"},
      {-129, "02 02 FF 7F"},
      {515, "02 02 02 03"},
      {65535, "02 03 00 FF FF"},
      {2147483647, "02 04 7F FF FF FF"},
      {std::numeric_limits<std::int32_t>::min(), "02 04 80 00 00 00"},
  };
  for (const auto& row : small) {
    expectInteger<std::int32_t>(row.value, row.hex);
    expectInteger<std::int64_t>(row.value, row.hex);
  }
  expectInteger<std::uint32_t>(255, "02 02 00 FF");
  expectInteger<std::uint32_t>(0xFFFFFFFF, "02 05 00 FF FF FF FF");
  expectInteger<std::uint64_t>(0xFFFFFFFF, "02 05 00 FF FF FF FF");
  expectInteger<std::uint64_t>(~std::uint64_t{0}, "02 09 00 FF FF FF FF FF FF FF FF");
  expectInteger<std::int64_t>(std::numeric_limits<std::int64_t>::min(), "02 08 80 00 00 00 00 00 00 00");
}

TEST(BerInteger, ReadsWhatOthersWrite) {
  EXPECT_EQ(readBothWays<std::int32_t>("02 00", integerView<std::int32_t>()), 0);
  EXPECT_EQ(readBothWays<std::int32_t>("02 04 00 00 00 05", integerView<std::int32_t>()), 5);
  EXPECT_EQ(readBothWays<std::uint32_t>("02 00", integerView<std::uint32_t>()), 0U);
  EXPECT_EQ(readBothWays<std::uint32_t>("02 01 FF", integerView<std::uint32_t>()), 255U);
  EXPECT_EQ(readBothWays<std::uint32_t>("02 04 FF FF FF FF", integerView<std::uint32_t>()), 0xFFFFFFFFU);
}

TEST(BerInteger, RefusesWhatIsOutOfRange) {
  const auto read = [](auto view, std::string_view hex) { return textOf<EBer>([&] { fill(view, hex); }); };
  std::int32_t number = 7;
  std::uint32_t word = 7;
  std::int64_t large = 7;
  std::uint64_t unsignedLarge = 7;
  EXPECT_EQ(read(BerIntegerTemplate(&number, 0, 65535), "02 03 01 11 70"),
            "data out of range in BerIntegerTemplate<int>::readDone 0 <= 70000 <= 65535");
  EXPECT_EQ(read(BerIntegerTemplate(&number, 0, 65535), "02 01 FF"),
            "data out of range in BerIntegerTemplate<int>::readDone 0 <= -1 <= 65535");
  EXPECT_EQ(read(BerIntegerTemplate(&word, 0U, 9U), "02 01 FF"),
            "data out of range in BerIntegerTemplate<unsigned int>::readDone 0 <= 255 <= 9");
  EXPECT_EQ(read(integerView<std::uint32_t>()(&word), "02 05 01 00 00 00 00"),
            "data out of range in BerIntegerTemplate");
  EXPECT_EQ(read(integerView<std::uint64_t>()(&unsignedLarge), "02 09 01 00 00 00 00 00 00 00 00"),
            "data out of range in BerIntegerTemplate");
  EXPECT_EQ(read(integerView<std::int32_t>()(&number), "02 05 00 00 00 00 01"),
            "Data value exceeds maximum allowed length 5 > 4");
  EXPECT_EQ(read(integerView<std::int64_t>()(&large), "02 84 FF FF FF FF"),
            "Data value exceeds maximum allowed length 4294967295 > 8");
  EXPECT_EQ(number, 7);
  MemoryIo io;
  EXPECT_EQ(textOf<EBer>([&] { BerIntegerTemplate(&number, 8, 9).write(io, false); }),
            "data out of range in BerIntegerTemplate<int>::write 8 <= 7 <= 9");
  EXPECT_TRUE(io.bytes.empty());
}

TEST(BerReal, TravelsAsTextOrASpecialForm) {
  const struct {
    double value;
    const char* hex;
  } rows[] = {
      {1.5, "09 0D 00 '1.500000e+00'"},
      {-0.25, "09 0E 00 '-2.500000e-01'"},
      {1e300, "09 0E 00 '1.000000e+300'"},
      {HUGE_VAL, "09 01 40"},
      {-HUGE_VAL, "09 01 41"},
      {0.0, "09 00"},
  };
  for (auto row : rows) {
    EXPECT_EQ(writtenHex(BerReal(&row.value)), plainHex(row.hex));
    EXPECT_EQ(realOf(row.hex), row.value) << row.hex;
  }
  // What is lost on the way: digits beyond six, the sign of zero, and NaN altogether.
  double value = 123456789;
  EXPECT_EQ(writtenHex(BerReal(&value)), plainHex("09 0D 00 '1.234568e+08'"));
  value = -0.0;
  EXPECT_EQ(writtenHex(BerReal(&value)), "09 00");
  value = std::nan("");
  EXPECT_EQ(writtenHex(BerReal(&value)), "09 01 60");
  EXPECT_EQ(realOf("09 01 60"), 0.0);
}

TEST(BerReal, ReadsTextAsTheCLibraryDoes) {
  EXPECT_EQ(realOf("09 01 00"), 0.0);
  EXPECT_EQ(realOf("09 06 00 ' +2.5'"), 2.5);
  EXPECT_EQ(realOf("09 06 00 '0x1p4'"), 16.0);
  EXPECT_EQ(realOf("09 06 00 '1e999'"), HUGE_VAL);
  EXPECT_EQ(realOf("09 04 00 'inf'"), HUGE_VAL);
  EXPECT_EQ(realOf("09 05 00 '-inf'"), -HUGE_VAL);
  EXPECT_TRUE(std::isnan(realOf("09 04 00 'nan'")));
  for (const char* hex : {"09 05 00 '1.5x'", "09 05 00 '1.5 '", "09 05 00 '1.5' 00", "09 02 00 '-'"}) {
    EXPECT_EQ(textOf<EBer>([&] { realOf(hex); }), "Parse error in real number") << hex;
  }
  EXPECT_EQ(textOf<EBer>([] { realOf("09 02 03 31"); }), "Unsupported real number format revceived");
  EXPECT_EQ(textOf<EBer>([] { realOf("09 3D 00"); }), "Data value exceeds maximum allowed length 61 > 60");
}

TEST(BerBoolean, IsTrueForAnyByteButZero) {
  const auto view = [](bool* member) { return BerBoolean(member); };
  EXPECT_FALSE(readBothWays<bool>("01 00", view));
  EXPECT_FALSE(readBothWays<bool>("01 01 00", view));
  EXPECT_TRUE(readBothWays<bool>("01 01 80", view));
  bool value = true;
  EXPECT_EQ(writtenHex(BerBoolean(&value)), "01 01 01");
  value = false;
  EXPECT_EQ(writtenHex(BerBoolean(&value)), "01 01 00");
}

TEST(BerEnumerated, LeavesZeroEmptyAndGivesNegativesFourBytes) {
  const struct {
    std::int32_t value;
    const char* hex;
  } rows[] = {{0, "0A 00"}, {1, "0A 01 01"}, {128, "0A 02 00 80"}, {-1, "0A 04 FF FF FF FF"}};
  const auto view = [](Severity* member) { return BerEnumerated<Severity>(member); };
  for (const auto& row : rows) {
    Severity value{row.value};
    EXPECT_EQ(writtenHex(view(&value)), row.hex);
    EXPECT_EQ(readBothWays<Severity>(row.hex, view), value) << row.hex;
  }
  EXPECT_EQ(readBothWays<Severity>("0A 01 FF", view), Severity{-1});
}

TEST(BerBigNum, IsAMagnitudeWithoutSign) {
  const auto view = [](BigNum* member) { return BerBigNum(member); };
  const std::string longest = "02 82 04 10 8" + std::string(2079, '1');
  for (const std::string& hex : {std::string("02 00"), std::string("02 01 FF"), plainHex(longest)}) {
    BigNum value = readBothWays<BigNum>(hex, view);
    EXPECT_EQ(writtenHex(BerBigNum(&value)), hex);
  }
  EXPECT_EQ(readBothWays<BigNum>("02 03 00 01 00", view), BigNum(256));
  EXPECT_EQ(textOf<EBer>([&] { readBothWays<BigNum>("02 82 04 11", view); }),
            "Data value exceeds maximum allowed length 1041 > 1040");
}

TEST(BerString, HoldsAnyBytesUpToItsLimit) {
  const auto view = [](std::string* member) { return BerString(member, 3); };
  std::string value = readBothWays<std::string>("04 03 00 FF 41", view);
  EXPECT_EQ(value, std::string("\0\xFF"
                               "A",
                               3));
  EXPECT_EQ(writtenHex(view(&value)), "04 03 00 FF 41");
  EXPECT_EQ(writtenHex(view(&value), true), "16 03 00 FF 41");
  EXPECT_EQ(readBothWays<std::string>("04 00", view), "");
  EXPECT_EQ(textOf<EBer>([&] { fill(view(&value), "04 84 FF FF FF FF"); }),
            "String exceeds allowed length 4294967295 > 3");
  value = "four";
  MemoryIo io;
  EXPECT_EQ(textOf<EBer>([&] { view(&value).write(io, false); }), "String exceeds allowed length 4 > 3");
  EXPECT_TRUE(io.bytes.empty());
}

TEST(BerNull, TakesNoContent) {
  EXPECT_EQ(writtenHex(BerNull()), "05 00");
  EXPECT_EQ(textOf<EBer>([] { fill(BerNull(), "05 01 00"); }),
            "Data value exceeds maximum allowed length 1 > 0");
}

TEST(BerShortValue, IsComparedByWhatWasReceivedAlsoInCopies) {
  const auto received = [](std::string_view hex) {
    BerIntegerTemplate<std::int32_t> value;
    fill(value, hex);  // the input is gone behind this
    return value.clone();
  };
  const auto shortForm = received("02 01 05");
  const auto longForm = received("02 02 00 05");
  EXPECT_TRUE(*shortForm == *received("02 01 05"));
  EXPECT_FALSE(*shortForm == *longForm);
  EXPECT_TRUE(*shortForm < *longForm);
  EXPECT_TRUE(*longForm > *shortForm);
  const auto larger = received("02 01 06");
  EXPECT_FALSE(*shortForm == *larger || *shortForm < *larger || *larger > *shortForm);
  EXPECT_FALSE(*shortForm == BerNull() || BerReal() < *shortForm);
  EXPECT_EQ(writtenHex(*longForm), "02 01 05");
}

TEST(Primitives, GoOutInOneWrite) {
  std::string text(40, 'x');
  std::int64_t number = -5000000000;
  double real = -1.25e-100;
  MemoryIo io;
  BerString(&text, 64).write(io, false);
  integerView<std::int64_t>()(&number).write(io, false);
  BerReal(&real).write(io, false);
  EXPECT_EQ(io.writes, 3U);
}

TEST(SkipperDeathTest, CanOnlySwallow) {
  const BerPrimitiveSkipper primitive(16);
  const BerConstructedSkipper constructed(129);
  EXPECT_TRUE(primitive == BerPrimitiveSkipper(32));
  EXPECT_FALSE(primitive == constructed);
  MemoryIo io;
  EXPECT_DEATH(primitive.write(io, false), "^Assertion failed: BerPrimitiveSkipper::write invoked");
  EXPECT_DEATH(constructed.write(io, false), "^Assertion failed: BerConstructedSkipper::write invoked");
  EXPECT_DEATH((void)(primitive < primitive), "Cannot call operator< for BerPrimitiveSkipper");
  EXPECT_DEATH((void)(constructed > constructed), "Cannot call operator> for BerConstructedSkipper");
}
