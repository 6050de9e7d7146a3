#include "platform/time_zone.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <optional>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/clock.h"

namespace morvex {
namespace {

// TZ as it was when the program started; nothing if it was not set.
const std::optional<std::string>& startZone() {
  static const std::optional<std::string> recorded = [] {
    const char* zone = std::getenv("TZ");
    return zone == nullptr ? std::nullopt : std::optional<std::string>(zone);
  }();
  return recorded;
}

// TZ counts hours west of Greenwich, so the sign is the opposite one.
std::string zoneText(std::int32_t offset) {
  const std::uint32_t seconds =
      offset < 0 ? 0 - static_cast<std::uint32_t>(offset) : static_cast<std::uint32_t>(offset);
  std::string text = offset < 0 ? "GMT" : "GMT-";
  text += uintToString(seconds / 3600);
  if (seconds % 3600 != 0) {
    text += ':' + uintToString(seconds / 60 % 60, true);
  }
  if (seconds % 60 != 0) {
    text += ':' + uintToString(seconds % 60, true);
  }
  return text;
}

// Puts the zone in force for the C library, unless it is already.
void applyZone(const TimeZone& zone) {
  static std::optional<std::int32_t> inForce;
  if (inForce == zone.offset) {
    return;
  }
  const bool local = zone.offset == TimeZone::localMarker;
  const std::optional<std::string> text = local ? startZone() : zoneText(zone.offset);
  inForce.reset();
  if (!platform_set_zone(text ? text->c_str() : nullptr)) {
    throwSystemError("Couldn't set TZ environment variable");
  }
  inForce = zone.offset;
}

constexpr std::int32_t kHour = 3600, kDay = 24 * kHour;

std::int32_t secondOfDay(const std::tm& fields) {
  return fields.tm_hour * kHour + fields.tm_min * 60 + fields.tm_sec;
}

// Seconds since 1970 as if clocks never changed. For the years of 32-bit times.
std::int64_t clockSeconds(const std::tm& fields) {
  using namespace std::chrono;
  const sys_days date = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
  return std::int64_t{date.time_since_epoch().count()} * kDay + secondOfDay(fields);
}

bool isSameDate(const std::tm& one, const std::tm& other) {
  return one.tm_mday == other.tm_mday && one.tm_mon == other.tm_mon && one.tm_year == other.tm_year;
}

bool within(int value, int first, int last) { return value >= first && value <= last; }

}  // namespace

TimeZone::TimeZone(std::int32_t offsetOrMarker) : offset(offsetOrMarker) { startZone(); }

void breakDownTime(const TimeZone& zone, std::tm& result, std::uint64_t time) {
  applyZone(zone);
  if (time > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) ||
      !platform_break_down(static_cast<std::int64_t>(time), result)) {
    throwSystemError("Couldn't get localtime for time " + uint64ToString(time));
  }
}

std::int64_t composeTime(const TimeZone& zone, std::tm& fields) {
  applyZone(zone);
  const std::int64_t time = platform_compose(fields);
  if (time == -1) {
    throwSystemError("Couldn't compose time from tm: (s:" + intToString(fields.tm_sec) +
                     "m:" + intToString(fields.tm_min) + "h:" + intToString(fields.tm_hour) +
                     "md:" + intToString(fields.tm_mday) + "mo:" + intToString(fields.tm_mon) +
                     "yr:" + intToString(fields.tm_year) + "wd:" + intToString(fields.tm_wday) +
                     "yd:" + intToString(fields.tm_yday) + "i:" + intToString(fields.tm_isdst));
  }
  return time;
}

const std::tm& Calendar::breakDown(std::uint64_t time) {
  applyZone(zone_);  // the C library prints the fields by it
  const std::uint64_t second = time - begin_;
  if (second >= kDay || !isEven()) {
    std::tm fields{};
    breakDownTime(zone_, fields, time);
    note(fields, time, false);
    return fields_;
  }
  const auto rest = static_cast<std::int32_t>(second);
  fields_.tm_hour = rest / kHour;
  fields_.tm_min = rest / 60 % 60;
  fields_.tm_sec = rest % 60;
  return fields_;
}

std::int64_t Calendar::compose(const std::tm& fields) {
  if (composed_ && fields.tm_isdst < 0 && isSameDate(fields, fields_) && within(fields.tm_hour, 0, 23) &&
      within(fields.tm_min, 0, 59) && within(fields.tm_sec, 0, 59) && isEven()) {
    return static_cast<std::int64_t>(begin_) + secondOfDay(fields);
  }
  std::tm normalised = fields;
  const std::int64_t time = composeTime(zone_, normalised);
  note(normalised, static_cast<std::uint64_t>(time), true);
  return time;
}

void Calendar::note(const std::tm& fields, std::uint64_t time, bool composed) {
  const std::uint64_t begin = time - static_cast<std::uint64_t>(secondOfDay(fields));
  if (day_ == Day::unknown || begin != begin_) {
    day_ = Day::unchecked;
  }
  begin_ = begin;
  fields_ = fields;
  composed_ = composed;
}

// Checks a day at its second time only, so that times far apart cost nothing more.
bool Calendar::isEven() {
  if (day_ == Day::unchecked) {
    applyZone(zone_);
    constexpr auto kLimit = std::numeric_limits<std::uint32_t>::max();
    // At the turn of the year the C library changes to the rules of the next.
    const bool inRange = within(fields_.tm_yday, 3, 361) && begin_ <= kLimit;
    day_ = inRange && goesOnAt(begin_ - kDay) && goesOnAt(begin_ + 2 * kDay - 1) ? Day::even : Day::uneven;
  }
  return day_ == Day::even;
}

// Whether clocks run from fields_ to that time without a change or a leap second.
bool Calendar::goesOnAt(std::uint64_t time) const {
  const auto distance = static_cast<std::int64_t>(time - begin_) - secondOfDay(fields_);
  std::tm fields{};
  return platform_break_down(static_cast<std::int64_t>(time), fields) &&
         platform_same_offset(fields, fields_) && clockSeconds(fields) - clockSeconds(fields_) == distance;
}

std::int64_t calendarTime(const std::array<std::int32_t, 6>& fields, Calendar& calendar) {
  const auto [year, month, day, hour, minute, second] = fields;
  const bool inRange = year >= 1900 && within(month, 1, 12) && within(day, 1, 31) && within(hour, 0, 23) &&
                       within(minute, 0, 59) && within(second, 0, 61);
  if (!inRange) {
    return 0;
  }
  std::tm broken{};
  broken.tm_year = year - 1900;
  broken.tm_mon = month - 1;
  broken.tm_mday = day;
  broken.tm_hour = hour;
  broken.tm_min = minute;
  broken.tm_sec = second;
  broken.tm_isdst = -1;
  return calendar.compose(broken);
}

std::int64_t parseCalendarTime(const std::array<std::string_view, 6>& fieldTexts, Calendar& calendar) {
  std::array<std::int32_t, 6> fields{};
  std::transform(fieldTexts.begin(), fieldTexts.end(), fields.begin(), stringToInt);
  return calendarTime(fields, calendar);
}

std::int64_t parseIsoTime(const std::string& text, const TimeZone& zone) {
  if (text.size() != 20) {
    throw error::EParseError("string not in iso_format");
  }
  Calendar calendar(zone);
  const auto piece = [&text](std::size_t begin, std::size_t count) {
    return std::string_view(text).substr(begin, count);
  };
  return parseCalendarTime({piece(0, 4), piece(5, 2), piece(8, 2), piece(12, 2), piece(15, 2), piece(18, 2)},
                           calendar);
}

}  // namespace morvex
