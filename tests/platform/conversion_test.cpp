// The short ways of numbers against the C library, which defines their outcome.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include "foundation/number_text.h"
#include "foundation/text.h"
#include "support/many_cases.h"

using namespace morvex;

namespace {

struct Text {
  char bytes[64];
  int length;
  const char* end() const { return bytes + length; }
};

template <class... Values>
Text printed(const char* format, Values... values) {
  Text text;
  text.length = std::snprintf(text.bytes, sizeof text.bytes, format, values...);
  return text;
}

template <class Value>
bool puts(char* (*put)(char*, Value), Value value, const Text& expected) {
  char room[kNumberRoom];
  const std::ptrdiff_t length = put(room, value) - room;
  return length == expected.length &&
         std::memcmp(room, expected.bytes, static_cast<std::size_t>(length)) == 0;
}

// What is read must be the double of strtod; what is refused, no plain number within the range of doubles.
bool reads(const Text& text) {
  double value = -12345;
  if (!readDecimal(text.bytes, text.end(), value)) {
    return value == -12345 &&
           std::abs(std::strtod(text.bytes, nullptr)) <= std::numeric_limits<double>::min();
  }
  return std::bit_cast<std::uint64_t>(value) ==
         std::bit_cast<std::uint64_t>(std::strtod(text.bytes, nullptr));
}

bool convertsGeneral(double value) {
  const Text general = printed("%s%g", std::signbit(value) ? "-" : "", std::abs(value));  // of NaN, too
  return puts(putReal, value, general) && (!std::isfinite(value) || reads(general));
}

bool convertsScientific(double value) {
  const Text scientific = printed("%e", value);
  return !std::isfinite(value) || (puts(putScientific, value, scientific) && reads(scientific));
}

// number * 10^exponent, or a double close by.
double scaled(std::size_t number, int exponent) {
  const double power = std::pow(10, std::abs(exponent));
  return exponent < 0 ? static_cast<double>(number) / power : static_cast<double>(number) * power;
}

double moved(double value, int steps) {  // to a double that many steps away
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) + static_cast<std::uint64_t>(steps));
}

int anExponent(int limit) { return static_cast<int>(below(2 * static_cast<std::size_t>(limit) + 1)) - limit; }

// Each of them makes values of one sort.
double (*const kSorts[])() = {
    [] { return std::bit_cast<double>(g_random()); },
    [] { return scaled(below(10000000), -static_cast<int>(below(8))); },
    [] { return moved(scaled(10 * below(1000000) + 5, anExponent(25)), anExponent(2)); },
    [] { return moved(scaled(10 * below(10000000) + 5, anExponent(25)), anExponent(2)); },
    [] { return -scaled(below(1000), anExponent(300)); },
    [] { return moved(scaled(1, anExponent(300)), anExponent(2)); },
    [] { return -static_cast<double>(g_random() >> below(64)); },
    [] { return static_cast<double>(below(20000000)) / 2; },
    [] { return std::bit_cast<double>(g_random() >> (12 + below(52))); },
    [] { return moved(std::ldexp(1, anExponent(1022)), anExponent(2)); },
};

TEST(Conversion, RealsAreThoseOfTheCLibrary) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, 1.0, Limits::infinity(), Limits::quiet_NaN(), Limits::max(), Limits::min(),
                             Limits::denorm_min(), 999999.5, 9999995.0, 0.0001, 0.00009999995}) {
    for (const double either : {value, -value}) {
      EXPECT_TRUE(convertsGeneral(either) && convertsScientific(either)) << either;
    }
  }
  double wrong = 0;
  std::size_t faults = 0;
  for (std::size_t i = 0; i < 10000000 / kShare; ++i) {
    const double value = kSorts[i / 2 % std::size(kSorts)]();
    if (!(i % 2 == 0 ? convertsGeneral : convertsScientific)(value)) {
      wrong = value;
      ++faults;
    }
  }
  EXPECT_EQ(faults, 0u) << printed("%a", wrong).bytes;
}

// Digits near the limits of the exact way: 2^53, 19 digits, 10^22; halves between doubles; zeros all around.
Text someDecimal() {
  const std::uint64_t near = (std::uint64_t{1} << (52 + below(4))) + below(8) - 4;
  const std::uint64_t digits[] = {g_random() >> below(64), near, below(1000)};
  const auto number = static_cast<unsigned long long>(digits[below(3)]);
  const char* const sign = below(2) == 0 ? "-" : "";
  const int zeros = static_cast<int>(below(24));
  switch (below(4)) {
    case 0:
      return printed("%s%llue%+d", sign, number, anExponent(25));
    case 1:
      return printed("%s%llu.%0*lluE%d", sign, number >> 30, zeros, number & 0x3fffffff, anExponent(25));
    case 2:
      return printed("%s%0*llu", sign, zeros, number);
    default:
      return printed("%s%llu.%llu", sign, static_cast<unsigned long long>(below(100)), number);
  }
}

TEST(Conversion, DecimalsAreReadAsByTheCLibrary) {
  for (const char* text :
       {".5", "5.", "-0", "1e+05", "9007199254740993", "9007199254740993e22", "1e23", "1e-23",
        "1.7976931348623157e308", "00000000000000000001", "12345678901234567890e-5"}) {
    EXPECT_TRUE(reads(printed("%s", text))) << text;
  }
  std::vector<std::string> refused;
  splitFields(refused,
              "|-|.|-.|e5|1e|1e+|+1| 1|1 |1,5|--1|1.2.3"
              "|:.540920e+01|3:540920e+01|3.54/920e+01|3.54092:e+01"
              "|3.540920f+01|3.540920e*01|3.540920e+:1|3.540920e+0/"
              "|0x10|1e5.|inf|-nan|1e999|-1e-999",
              '|', true);
  for (const std::string& text : refused) {
    double value = 7;
    EXPECT_TRUE(!readDecimal(text.data(), text.data() + text.size(), value) && value == 7) << text;
  }
  Text wrong{};
  for (std::size_t i = 0; i < 3000000 / kShare; ++i) {
    if (const Text text = someDecimal(); !reads(text)) {
      wrong = text;
    }
  }
  EXPECT_STREQ(wrong.bytes, "");
}

TEST(Conversion, IntegersAreThoseOfTheCLibrary) {
  std::size_t faults = 0;
  for (std::size_t i = 0; i < 1000000 / kShare; ++i) {
    const auto value = static_cast<std::uint32_t>(g_random()) >> below(32);
    const auto edge = static_cast<std::uint32_t>(std::pow(10, below(10))) - static_cast<std::uint32_t>(i % 2);
    for (const std::uint32_t number : {value, edge, 0 - value}) {
      const auto asInt = static_cast<std::int32_t>(number);
      faults +=
          puts(putUint, number, printed("%u", number)) && puts(putInt, asInt, printed("%d", asInt)) ? 0 : 1;
    }
  }
  EXPECT_EQ(faults, 0u);
}

}  // namespace
