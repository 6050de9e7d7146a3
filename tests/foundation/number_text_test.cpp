// Compares the short ways of numbers with the C library, which defines their outcome.

#include "foundation/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>

#include "foundation/text.h"

using namespace morvex;

namespace {

std::mt19937_64 g_random(1);
std::size_t below(std::size_t limit) { return g_random() % limit; }

template <class... Values>
std::string printed(const char* format, Values... values) {
  char text[400];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, values...))};
}

template <class Value>
bool puts(char* (*put)(char*, Value), Value value, std::string_view expected) {
  char room[kNumberRoom];
  return std::string_view(room, static_cast<std::size_t>(put(room, value) - room)) == expected;
}

// Only a number near the limits of a double may be left to the C library.
bool reads(const std::string& text) {
  const double expected = std::strtod(text.c_str(), nullptr);
  double value = -12345;
  return readDecimal(text.data(), text.data() + text.size(), value)
             ? std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(expected)
             : value == -12345 && std::abs(expected) <= std::numeric_limits<double>::min();
}

#ifdef _WIN32
constexpr bool kRoundsAnyText = false;  // strtod there takes 2.449441655328671e+201 for 2^669
#else
constexpr bool kRoundsAnyText = true;
#endif

bool converts(double value) {
  const std::string general =
      printed("%s%g", std::signbit(value) ? "-" : "", std::abs(value));  // of NaN, too
  if (!std::isfinite(value)) {
    return puts(putReal, value, general);
  }
  const std::string scientific = printed("%e", value), fixed = printed("%f", value);
  const int digits = static_cast<int>(below(20)), width = static_cast<int>(below(30));
  return puts(putReal, value, general) && puts(putScientific, value, scientific) &&
         realToString(value, -1, -1) == fixed && reads(general) && reads(scientific) &&
         (!kRoundsAnyText ||
          (reads(printed("%.*e", digits, value)) && reads(printed("%0*.*f", width, digits, value))));
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
    [] { return moved(scaled(10 * below(1000000 + 9000000 * below(2)) + 5, anExponent(25)), anExponent(2)); },
    [] { return -scaled(below(1000), anExponent(300)); },
    [] { return moved(scaled(1, anExponent(300)), anExponent(2)); },
    [] { return -static_cast<double>(g_random() >> below(64)); },
    [] { return std::bit_cast<double>(g_random() >> (12 + below(52))); },
    [] { return moved(std::ldexp(1, anExponent(1022)), anExponent(2)); },
};

TEST(NumberText, RealsAreThoseOfTheCLibrary) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, 1.0, Limits::infinity(), Limits::quiet_NaN(), Limits::max(), Limits::min(),
                             Limits::denorm_min(), 999999.5, 9999995.0, 0.0001, 0.00009999995}) {
    EXPECT_TRUE(converts(value) && converts(-value)) << value;
  }
  for (std::size_t i = 0; i < 300000; ++i) {
    const double value = kSorts[i % std::size(kSorts)]();
    ASSERT_TRUE(converts(value)) << printed("%a", value);
  }
}

TEST(NumberText, IntegersAreThoseOfTheCLibrary) {
  for (std::size_t i = 0; i < 100000; ++i) {
    const auto value = static_cast<std::uint32_t>(g_random()) >> below(32);
    const auto edge = static_cast<std::uint32_t>(std::pow(10, below(10))) - static_cast<std::uint32_t>(i % 2);
    for (const std::uint32_t number : {value, edge, 0 - value}) {
      const auto asInt = static_cast<std::int32_t>(number);
      ASSERT_TRUE(puts(putUint, number, printed("%u", number)) && puts(putInt, asInt, printed("%d", asInt)));
    }
  }
}

}  // namespace
