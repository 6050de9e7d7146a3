// Compares the short ways of times with the C library, which defines their outcome.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <set>

#include "foundation/errors.h"
#include "platform/clock.h"
#include "platform/time_zone.h"
#include "platform/zones.h"

using namespace morvex;

namespace {

using Times = std::vector<std::int64_t>;
constexpr std::int64_t kEnd = std::int64_t{1} << 31, kDay = 86400;

// Not a constant, because the first TimeZone of the process records the zone of the start.
TimeZone local() { return TimeZone(TimeZone::localMarker); }

std::tm broken(std::int64_t time) {
  std::tm fields{};
  platform_break_down(time, fields);
  return fields;
}

// What the clocks show, as seconds.
std::int64_t shownBy(const std::tm& fields) {
  using namespace std::chrono;
  const sys_days date = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
  return date.time_since_epoch() / seconds(1) + fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec;
}

// The calendar fields that show this many seconds, for the C library to compose.
std::tm showing(std::int64_t shown) {
  using namespace std::chrono;
  const sys_seconds moment{seconds(shown)};
  const year_month_day date(floor<days>(moment));
  std::tm fields{};
  fields.tm_year = static_cast<int>(date.year()) - 1900;
  fields.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  fields.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  const auto second = static_cast<int>((moment - floor<days>(moment)).count());
  fields.tm_hour = second / 3600;
  fields.tm_min = second / 60 % 60;
  fields.tm_sec = second % 60;
  fields.tm_isdst = -1;
  return fields;
}

bool same(const std::tm& a, const std::tm& b) {
  return shownBy(a) == shownBy(b) && a.tm_wday == b.tm_wday && a.tm_yday == b.tm_yday &&
         platform_same_offset(a, b);
}

// Whether the zone treats both times alike. Behind a leap second, clocks show a different number of seconds.
bool alike(std::int64_t a, std::int64_t b) {
  const std::tm left = broken(a), right = broken(b);
  return platform_same_offset(left, right) && shownBy(left) - a == shownBy(right) - b;
}

// When the zone in force changes, or has a leap second, provided that no two of these lie within five days.
Times changes() {
  Times found;
  for (std::int64_t first = 0; first < kEnd; first += 5 * kDay) {
    std::int64_t before = first, behind = first + 5 * kDay;
    if (alike(before, behind)) {
      continue;
    }
    while (behind - before > 1) {
      const std::int64_t middle = (before + behind) / 2;
      (alike(first, middle) ? before : behind) = middle;
    }
    found.push_back(behind);
  }
  return found;
}

// A time, its calendar fields, and fields shifted to the offset in force three hours earlier or later: near a
// change, these occur twice or never.
struct Case {
  std::int64_t time;
  std::tm fields, shown;
};

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
    const std::int64_t other = time + (cases.size() % 2 == 0 ? -3 : 3) * 3600;
    cases.push_back({time, broken(time), showing(time + shownBy(broken(other)) - other)});
  }
  return cases;
}

// The outcome of each. The C library remembers an offset, so that every run begins with the same one.
template <class Compose>
Times composed(const std::vector<Case>& cases, Compose compose) {
  std::tm start = broken(kDay);
  platform_compose(start);
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
  const Times expected = composed(cases, [](std::tm shown) { return platform_compose(shown); });
  const Times got = composed(cases, [&](const std::tm& shown) {
    if (++calls % 3 == 0) {  // one direction must not mislead the other
      check(cases[calls - 1]);
    }
    return calendar.compose(shown);
  });
  EXPECT_TRUE(faults == 0 && got == expected) << what;
}

TEST(Calendar, AgreesWithTheCLibraryInAllZones) {
  std::tm fields{};
  breakDownTime(local(), fields, 0);  // from here on, the zone in force counts as the local one
  std::set<Times> met;                // many zones are alike since 1970
  std::mt19937 random(1);
  for (const std::string& zone : zonesToTry()) {
    ASSERT_TRUE(platform_set_zone(zone.c_str()));
    const Times found = changes();
    if (!met.insert(found).second) {
      continue;
    }
    std::vector<Case> cases = casesAround(found);
    expectNoFaults(cases, zone + " ascending");
    std::reverse(cases.begin(), cases.end());
    expectNoFaults(cases, zone + " descending");
    std::shuffle(cases.begin(), cases.end(), random);
    expectNoFaults(cases, zone + " jumping");
  }
  EXPECT_GT(met.size(), 3u);
  breakDownTime(TimeZone(1), fields, 0);  // so that any other is put in force again
}

}  // namespace
