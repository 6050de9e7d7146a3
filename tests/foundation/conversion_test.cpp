// The short ways of numbers and times against the C library, which defines their outcome.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include "foundation/errors.h"
#include "foundation/number_text.h"
#include "foundation/time_zone.h"

namespace {

#if defined(__has_feature)
#define SANITIZED __has_feature(address_sanitizer)
#elif defined(__SANITIZE_ADDRESS__)
#define SANITIZED 1
#else
#define SANITIZED 0
#endif
constexpr std::size_t kShare = SANITIZED ? 10 : 1;  // one in so many of the cases

std::mt19937_64 g_random(1);

std::size_t below(std::size_t limit) { return g_random() % limit; }

// ---- Numbers ----

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
  const Text general = printed("%g", value);
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
  const auto number = static_cast<unsigned long>(digits[below(3)]);
  const char* const sign = below(2) == 0 ? "-" : "";
  const int zeros = static_cast<int>(below(24));
  switch (below(4)) {
    case 0:
      return printed("%s%lue%+d", sign, number, anExponent(25));
    case 1:
      return printed("%s%lu.%0*luE%d", sign, number >> 30, zeros, number & 0x3fffffff, anExponent(25));
    case 2:
      return printed("%s%0*lu", sign, zeros, number);
    default:
      return printed("%s%lu.%lu", sign, static_cast<unsigned long>(below(100)), number);
  }
}

TEST(Conversion, DecimalsAreReadAsByTheCLibrary) {
  for (const char* text :
       {".5", "5.", "-0", "1e+05", "9007199254740993", "9007199254740993e22", "1e23", "1e-23",
        "1.7976931348623157e308", "00000000000000000001", "12345678901234567890e-5"}) {
    EXPECT_TRUE(reads(printed("%s", text))) << text;
  }
  for (const char* text : {"",
                           "-",
                           ".",
                           "-.",
                           "e5",
                           "1e",
                           "1e+",
                           "+1",
                           " 1",
                           "1 ",
                           "1,5",
                           "--1",
                           "1.2.3",
                           ":.540920e+01",
                           "3:540920e+01",
                           "3.54/920e+01",
                           "3.54092:e+01",
                           "3.540920f+01",
                           "3.540920e*01",
                           "3.540920e+:1",
                           "3.540920e+0/",
                           "0x10",
                           "1e5.",
                           "inf",
                           "-nan",
                           "1e999",
                           "-1e-999"}) {
    double value = 7;
    EXPECT_TRUE(!readDecimal(text, text + std::strlen(text), value) && value == 7) << text;
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

// ---- Times ----

using Times = std::vector<std::int64_t>;
constexpr std::int64_t kEnd = std::int64_t{1} << 31, kDay = 86400;

// No constant, as the first TimeZone of the process records the zone of the start.
TimeZone local() { return TimeZone(TimeZone::localMarker); }

std::tm broken(std::int64_t time) {
  std::tm fields{};
  localtime_r(&time, &fields);
  return fields;
}

bool same(const std::tm& a, const std::tm& b) {
  return a.tm_sec == b.tm_sec && a.tm_min == b.tm_min && a.tm_hour == b.tm_hour && a.tm_mday == b.tm_mday &&
         a.tm_mon == b.tm_mon && a.tm_year == b.tm_year && a.tm_wday == b.tm_wday && a.tm_yday == b.tm_yday &&
         a.tm_isdst == b.tm_isdst && a.tm_gmtoff == b.tm_gmtoff && std::strcmp(a.tm_zone, b.tm_zone) == 0;
}

struct Moment {
  explicit Moment(std::int64_t when) : time(when), fields(broken(when)) {}
  // Seconds within a minute differ behind a leap second.
  bool isLike(const Moment& other) const {
    return fields.tm_gmtoff == other.fields.tm_gmtoff && fields.tm_isdst == other.fields.tm_isdst &&
           std::strcmp(fields.tm_zone, other.fields.tm_zone) == 0 &&
           (time - fields.tm_sec - other.time + other.fields.tm_sec) % 60 == 0;
  }
  std::int64_t time;
  std::tm fields;
};

// When the zone in force changes, or has a leap second, provided that no two of these lie within five days.
Times changes() {
  Times found;
  Moment first(0);
  while (first.time < kEnd) {
    const Moment last(first.time + 5 * kDay);
    std::int64_t before = first.time, behind = last.time;
    while (!first.isLike(last) && behind - before > 1) {
      const std::int64_t middle = (before + behind) / 2;
      (first.isLike(Moment(middle)) ? before : behind) = middle;
    }
    if (!first.isLike(last)) {
      found.push_back(behind);
    }
    first = last;
  }
  return found;
}

// A time, and what clocks show then; and what they would show with the offset of three hours before, or of
// three hours later: around a change, that comes twice, or never.
struct Case {
  std::int64_t time;
  std::tm fields, shown;
};

Case caseOf(std::int64_t time, std::int64_t other) {
  Case made{time, broken(time), broken(other)};
  const std::int64_t reading = time + made.shown.tm_gmtoff;
  gmtime_r(&reading, &made.shown);
  made.shown.tm_isdst = -1;
  return made;
}

// Around every change and every turn of a year.
std::vector<Case> casesAround(const Times& changes) {
  Times times;
  for (std::int64_t year = 0; year < kEnd; year += 365 * kDay + kDay / 4) {
    for (const std::int64_t hours : {-70, -50, -30, -29, -20, -10, 0, 10}) {
      times.push_back(year + hours * 3600);
    }
  }
  for (const std::int64_t change : changes) {
    for (std::int64_t near = -3; near <= 3; ++near) {
      times.push_back(change + near);
    }
    for (const std::int64_t hours : {-48, -40, -24, -10, -1, 1, 2, 24, 30, 40}) {
      times.insert(times.end(), {change + hours * 3600 - 1, change + hours * 3600});
    }
  }
  std::erase_if(times, [](std::int64_t time) { return time < 0 || time >= kEnd; });
  std::sort(times.begin(), times.end());
  std::vector<Case> cases;
  for (const std::int64_t time : times) {
    cases.push_back(caseOf(time, time + (cases.size() % 2 == 0 ? -3 : 3) * 3600));
  }
  return cases;
}

// The outcome of each. The C library starts with the same offset in mind each time.
template <class Compose>
Times composed(const std::vector<Case>& cases, Compose compose) {
  std::tm start = broken(kDay);
  std::mktime(&start);
  Times times;
  for (const Case& one : cases) {
    try {
      times.push_back(compose(one.shown));
    } catch (const error::ESystemError&) {
      times.push_back(-1);
    }
  }
  return times;
}

void expectNoFaults(const std::vector<Case>& cases, const std::string& what) {
  Calendar calendar(local());
  std::size_t calls = 0, faults = 0;
  const auto check = [&](const Case& one) {
    faults += same(calendar.breakDown(static_cast<std::uint64_t>(one.time)), one.fields) ? 0 : 1;
  };
  std::for_each(cases.begin(), cases.end(), check);
  const Times expected = composed(cases, [](std::tm shown) { return std::mktime(&shown); });
  const Times got = composed(cases, [&](const std::tm& shown) {
    if (++calls % 3 == 0) {  // one direction must not mislead the other
      check(cases[calls - 1]);
    }
    return calendar.compose(shown);
  });
  EXPECT_TRUE(faults == 0 && got == expected) << what;
}

// The zones of the system, less copies, those with leap seconds among them; and some that are spelt out.
std::vector<std::string> zones() {
  std::vector<std::string> names{"CET-1CEST,M3.5.0,M10.5.0/3",
                                 "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
                                 "IST-1GMT0,M10.5.0,M3.5.0/1",
                                 "AAA11:30:07BBB-12:29:53,J60/2:45:15,J300/0:00:01",
                                 "XXX-24:59:59",
                                 "EST5EDT,0/0,J365/25"};
  const std::string root = "/usr/share/zoneinfo/";
  std::set<std::string> contents;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    const std::string name = entry.path().string().substr(root.size());
    if (entry.is_regular_file() && !name.starts_with("posix/")) {
      std::ifstream file(entry.path());
      const std::string content(std::istreambuf_iterator<char>(file), {});
      if (content.starts_with("TZif") && contents.insert(content).second) {
        names.push_back(name);
      }
    }
  }
  return names;
}

TEST(Conversion, TimesAreThoseOfTheCLibraryInAllZones) {
  std::tm fields{};
  breakDownTime(local(), fields, 0);  // from here on, the zone in force counts as the local one
  std::set<Times> met;                // many zones are alike since 1970
  std::size_t count = 0;
  for (const std::string& zone : zones()) {
    setenv("TZ", zone.c_str(), 1);
    tzset();
    const Times found = changes();
    if (count++ % kShare != 0 || !met.insert(found).second) {
      continue;
    }
    std::vector<Case> cases = casesAround(found);
    expectNoFaults(cases, zone + " ascending");
    std::reverse(cases.begin(), cases.end());
    expectNoFaults(cases, zone + " descending");
    std::shuffle(cases.begin(), cases.end(), g_random);
    expectNoFaults(cases, zone + " jumping");
  }
  EXPECT_GT(met.size(), 20u);
  breakDownTime(TimeZone(1), fields, 0);  // so that any other is put in force again
}

}  // namespace
