// Conversions of times, one zone after the other, against UTC and the rules of the zone written out.

#include "platform/time_zone.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>

#include "commands/csv_output.h"
#include "foundation/text.h"
#include "require.h"

using namespace morvex;

namespace {

// Before anything can make a TimeZone: Central European Time.
const bool g_zoneSet = setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1) == 0;
const TimeZone kLocal(TimeZone::localMarker);
const char* const kIso = "%Y-%m-%d-T%H:%M:%S";

std::tm utc(std::int64_t time) {
  std::tm fields{};
  require(gmtime_r(&time, &fields) != nullptr, "the time lies within the calendar");
  return fields;
}

// 01:00 UTC on the last Sunday of the month, which has 31 days.
std::int64_t lastSunday(int year, int month) {
  std::tm fields{.tm_sec = 0, .tm_min = 0, .tm_hour = 1, .tm_mday = 31, .tm_mon = month, .tm_year = year};
  const std::int64_t end = timegm(&fields);
  return end - fields.tm_wday * 86400;
}

// Seconds east of Greenwich at this time.
std::int64_t offsetAt(const TimeZone& zone, std::int64_t time) {
  const int year = utc(time).tm_year;
  const bool summer = time >= lastSunday(year, 2) && time < lastSunday(year, 9);
  return zone.offset != kLocal.offset ? zone.offset : summer ? 7200 : 3600;
}

std::string textOf(const std::tm& fields, const char* format) {
  char buffer[64];
  return {buffer, std::strftime(buffer, sizeof buffer, format, &fields)};
}

void checkTime(const TimeZone& zone, std::int64_t time) {
  std::tm fields{};
  breakDownTime(zone, fields, static_cast<std::uint64_t>(time));
  const std::tm expected = utc(time + offsetAt(zone, time));
  require(textOf(fields, "%F %T %j %w") == textOf(expected, "%F %T %j %w"), "time " + std::to_string(time));
  require(composeTime(zone, fields) == time, "time " + std::to_string(time) + " comes back");
  if (const std::string iso = textOf(fields, kIso); iso.size() == 20) {
    const std::int64_t back = parseIsoTime(iso, zone);  // of the hour that comes twice, it may be either
    require(textOf(utc(back + offsetAt(zone, back)), kIso) == iso, iso + " is itself");
  }
  const auto narrow = static_cast<std::int32_t>(time & 0x7fffffff);
  const std::string format(kDefaultTimeFormat);
  const auto printed = [&](const std::string& wanted) {
    std::array<char, TimeText::kRoom> room;
    return std::string(room.data(), TimeText(wanted, zone).put(room.data(), narrow));
  };
  require(printed(format) + " " == printed(format + " "), "strftime");
}

// Fields out of their range carry over as they do in UTC. -1 counts as a failure, in the C library too.
void checkFields(const TimeZone& zone, std::tm fields) {
  std::tm reference = fields;
  const std::string expected = std::to_string(timegm(&reference) - zone.offset);
  const std::string outcome =
      outcomeOf<error::ESystemError>([&] { return std::to_string(composeTime(zone, fields)); });
  require(outcome == expected || (expected == "-1" && outcome.starts_with("refused: ")), "time " + expected);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::string iso = input.ConsumeRandomLengthString(24);
  outcomeOf([&] { return std::to_string(parseIsoTime(iso, kLocal)); });
  for (int i = 0; i < 4 && g_zoneSet; ++i) {  // the zone in force changes from one to the next
    const TimeZone zone(input.ConsumeIntegralInRange<std::int32_t>(-24 * 3600, 24 * 3600));
    checkTime(zone, input.ConsumeIntegralInRange<std::int64_t>(0, 1ll << 38));
    checkTime(kLocal, input.ConsumeIntegralInRange<std::int64_t>(0, 1ll << 38));
    std::tm fields{};
    for (int* field : {&fields.tm_year, &fields.tm_mon, &fields.tm_mday, &fields.tm_hour, &fields.tm_min,
                       &fields.tm_sec}) {
      *field = input.ConsumeIntegralInRange(-1000000, 1000000);
    }
    checkFields(zone, fields);
  }
  return 0;
}
