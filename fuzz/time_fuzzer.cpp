// Conversions of times, one zone after the other, against UTC and the rules of the zone written out.

#include <cstdlib>
#include <ctime>
#include <limits>

#include "commands/csv_output.h"
#include "foundation/text.h"
#include "foundation/time_zone.h"
#include "require.h"

namespace {

// Before anything can make a TimeZone: Central European Time.
const bool g_zoneSet = setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1) == 0;
constexpr std::int64_t kHour = 3600, kDay = 24 * kHour;

std::tm utc(std::int64_t time) {
  const std::time_t seconds = time;
  std::tm fields{};
  require(gmtime_r(&seconds, &fields) != nullptr, "the time lies within the calendar");
  return fields;
}

// 01:00 UTC on the last Sunday of the month, which has 31 days.
std::int64_t lastSunday(int year, int month) {
  std::tm fields{};
  fields.tm_year = year, fields.tm_mon = month, fields.tm_mday = 31, fields.tm_hour = 1;
  const std::int64_t end = timegm(&fields);
  return end - fields.tm_wday * kDay;
}

// Seconds east of Greenwich at this time.
std::int64_t offsetAt(const TimeZone& zone, std::int64_t time) {
  if (zone.offset != TimeZone::localMarker) {
    return zone.offset;
  }
  const int year = utc(time).tm_year;
  return time >= lastSunday(year, 2) && time < lastSunday(year, 9) ? 2 * kHour : kHour;
}

std::string text(const std::tm& fields, const char* format = "%Y-%m-%d-T%H:%M:%S %j %w") {
  char buffer[64];
  return {buffer, std::strftime(buffer, sizeof buffer, format, &fields)};
}

std::string number(std::int64_t value) { return std::to_string(value); }

void checkTime(const TimeZone& zone, std::int64_t time) {
  std::tm fields{};
  breakDownTime(zone, fields, static_cast<std::uint64_t>(time));
  require(text(fields) == text(utc(time + offsetAt(zone, time))), "time " + number(time));
  require(composeTime(zone, fields) == time, "time " + number(time) + " comes back");
  if (fields.tm_year < 9999 - 1900 && fields.tm_isdst == 0) {
    const std::int64_t back = parseIsoTime(text(fields, "%Y-%m-%d-T%H:%M:%S"), zone);
    require(back == time || (zone.offset == TimeZone::localMarker && back == time - kHour),
            "time " + number(time) + " in ISO form");  // the hour that comes twice in autumn may be either
  }
  if (time <= std::numeric_limits<std::int32_t>::max()) {
    const auto narrow = static_cast<std::int32_t>(time);
    const std::string format(kDefaultTimeFormat);
    require(TimeText(format, zone).of(narrow) + " " == TimeText(format + " ", zone).of(narrow),
            "strftime of " + number(time));
  }
}

// Fields out of their range carry over as they do in UTC.
void checkFields(const TimeZone& zone, std::tm fields) {
  std::tm reference = fields;
  const std::int64_t expected = timegm(&reference) - zone.offset;
  const std::string outcome =
      outcomeOf<error::ESystemError>([&] { return number(composeTime(zone, fields)); });
  require(outcome == number(expected) || (expected == -1 && outcome.starts_with("refused: ")),
          "fields of " + number(expected) + " give " + outcome);
}

void checkIso(const std::string& iso) {
  const auto reference = [&]() -> std::string {
    if (iso.size() != 20) {
      return "refused: string not in iso_format";
    }
    const auto piece = [&](std::size_t at, std::size_t count) { return stringToInt(iso.substr(at, count)); };
    const int year = piece(0, 4), month = piece(5, 2), day = piece(8, 2);
    const int hour = piece(12, 2), minute = piece(15, 2), second = piece(18, 2);
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 61) {
      return "0";
    }
    std::tm fields{};
    fields.tm_year = year - 1900, fields.tm_mon = month - 1, fields.tm_mday = day;
    fields.tm_hour = hour, fields.tm_min = minute, fields.tm_sec = second;
    return number(timegm(&fields));
  };
  const std::string expected = outcomeOf(reference);
  const std::string outcome = outcomeOf([&] { return number(parseIsoTime(iso, TimeZone(0))); });
  require(outcome == expected || (expected == "-1" && outcome.starts_with("refused: Couldn't compose")),
          "ISO time " + iso + " gives " + outcome);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::string iso = input.ConsumeRandomLengthString(24);
  checkIso(iso);
  for (int i = 0; i < 4 && g_zoneSet; ++i) {  // the zone in force changes from one to the next
    const auto offset = input.ConsumeIntegralInRange<std::int32_t>(-24 * 3600, 24 * 3600);
    checkTime(TimeZone(offset), input.ConsumeIntegralInRange<std::int64_t>(0, 1ll << 38));
    checkTime(TimeZone(TimeZone::localMarker), input.ConsumeIntegralInRange<std::int64_t>(0, 1ll << 38));
    std::tm fields{};
    for (int* field : {&fields.tm_year, &fields.tm_mon, &fields.tm_mday, &fields.tm_hour, &fields.tm_min,
                       &fields.tm_sec}) {
      *field = input.ConsumeIntegralInRange(-1000000, 1000000);
    }
    checkFields(TimeZone(offset), fields);
  }
  return 0;
}
