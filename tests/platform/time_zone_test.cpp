#include "platform/time_zone.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <tuple>

#include "foundation/errors.h"
#include "platform/clock.h"
#include "support/text_of.h"

using namespace morvex;

namespace {

// Central European Time, set before anything makes a TimeZone. Written as a rule, since zone files may be
// missing.
const bool g_zoneSet = platform_set_zone("CET-1CEST,M3.5.0,M10.5.0/3");
const TimeZone kLocal(TimeZone::localMarker), kUtc(0);

std::string brokenDown(const TimeZone& zone, std::uint64_t time) {
  std::tm fields{};
  breakDownTime(zone, fields, time);
  char text[64];
  return {text, platform_format_time(text, sizeof text, "%F %T", fields)};
}

}  // namespace

TEST(TimeZone, OffsetsCountEastwardsAndLocalIsTheZoneOfTheStart) {
  ASSERT_TRUE(g_zoneSet);
  platform_set_zone("EST5");
  for (const auto& [offset, zone, text] :
       {std::tuple(0, "GMT-0", "2003-07-01 00:00:00"),
        {3600, "GMT-1", "2003-07-01 01:00:00"},
        {-19800, "GMT5:30", "2003-06-30 18:30:00"},
        {3605, "GMT-1:00:05", "2003-07-01 01:00:05"},
        {TimeZone::localMarker, "CET-1CEST,M3.5.0,M10.5.0/3", "2003-07-01 02:00:00"}}) {
    EXPECT_EQ(brokenDown(TimeZone(offset), 1057017600), text);
    EXPECT_STREQ(std::getenv("TZ"), zone);
  }
  platform_set_zone("untouched");  // the zone in force is the wanted one already
  brokenDown(kLocal, 0);
  EXPECT_STREQ(std::getenv("TZ"), "untouched");
  for (const std::uint64_t time : {9223372036854775807u, 18446744073709551615u}) {
    EXPECT_EQ(textOf<error::ESystemError>([&] { brokenDown(kLocal, time); }),
              "Couldn't get localtime for time " + std::to_string(time));
  }
}

TEST(TimeZone, ReadsIsoTimes) {
  for (const auto& [text, utc, local] : {std::tuple("2003/03 25xx00.25,03", 1048551903, 1048548303),
                                         {"2003-07-01-T02:00:00", 1057024800, 1057017600},     // summer time
                                         {"2003-02-31-T00:25:61", 1046651161, 1046647561}}) {  // 3 March
    EXPECT_EQ(parseIsoTime(text, kUtc), utc) << text;
    EXPECT_EQ(parseIsoTime(text, kLocal), local) << text;
  }
  EXPECT_EQ(parseIsoTime("2003-03-25-T00:-1:03", kUtc), 0);
  EXPECT_THAT(parseIsoTime("2003-03-30-T02:30:00", kLocal), testing::AnyOf(1048984200, 1048987800));  // a gap
  EXPECT_EQ(textOf<error::EParseError>([] { parseIsoTime("2003-03-25T00:25:03", kUtc); }),
            "string not in iso_format");
  EXPECT_EQ(textOf<error::EParseError>([] { parseIsoTime("2003-xx-25-T00:yy:03", kUtc); }),
            "Error parsing: \"xx\"");
  EXPECT_THAT(
      textOf<error::ESystemError>([] { parseIsoTime("1969-12-31-T23:59:59", kUtc); }),
      testing::MatchesRegex("Couldn't compose time from tm: \\(s:59m:59h:23md:31mo:11yr:69wd:.yd:.*i:.*"));
}

// test_windows.py compares all forms with those of Linux.
TEST(TimeFormat, KnowsTheZoneAndTheRoom) {
  const char* const format = "%s%n%z|%c|%d.%m.%Y";
  const std::string expected = "1057017600\n+0200|Tue Jul  1 02:00:00 2003|01.07.2003";
  std::tm fields{};
  breakDownTime(kLocal, fields, 1057017600);
  char text[100];
  EXPECT_EQ(std::string(text, platform_format_time(text, sizeof text, format, fields)), expected);
  EXPECT_EQ(platform_format_time(text, expected.size(), format, fields), 0u);
}
