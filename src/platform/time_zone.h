#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace morvex {

// A zone for time conversions: the process's own, or a fixed offset.
// The first construction in the process records the environment variable TZ: the process's own zone is always
// the one in which the program was started.
class TimeZone {
 public:
  static constexpr std::int32_t localMarker = 0xffffff;

  // Seconds east of Greenwich, or localMarker.
  explicit TimeZone(std::int32_t offsetOrMarker);

  std::int32_t offset;
};

// Seconds since 1970-01-01 00:00 UTC to calendar time. Throws error::ESystemError.
void breakDownTime(const TimeZone& zone, std::tm& result, std::uint64_t time);

// And back. Fields out of range carry over, and may come back normalised. Throws error::ESystemError for a
// time that is not representable, or is -1.
std::int64_t composeTime(const TimeZone& zone, std::tm& fields);

// Converts many times that lie near each other, such as those of a series. The outcome is that of the two
// functions above, called in the same order. Asks the C library about each day; on an even day, a day or more
// away from any change of clocks, the other times follow by arithmetic. A change that is undone within three
// days would go unnoticed; no zone has one.
class Calendar {
 public:
  explicit Calendar(const TimeZone& zone) : zone_(zone) {}

  // As breakDownTime. Good until the next call.
  const std::tm& breakDown(std::uint64_t time);

  // As composeTime. Where clocks were put back, the C library goes by the offset of the time composed before.
  // Another Calendar that composes in between would mislead it.
  std::int64_t compose(const std::tm& fields);

 private:
  enum class Day { unknown, unchecked, even, uneven };

  void note(const std::tm& fields, std::uint64_t time, bool composed);
  bool isEven();
  bool goesOnAt(std::uint64_t time) const;

  TimeZone zone_;
  Day day_ = Day::unknown;
  std::uint64_t begin_ = 0;  // of the day, computed from a time in it
  std::tm fields_{};         // of the last time in it
  bool composed_ = false;    // the C library composed a time in it last
};

// Year, month, day, hour, minute and second to seconds since 1970. A field out of range gives 0; every month
// may have 31 days. Throws as composeTime does, and error::EParseError for a text that is no number.
std::int64_t calendarTime(const std::array<std::int32_t, 6>& fields, Calendar& calendar);
std::int64_t parseCalendarTime(const std::array<std::string_view, 6>& fieldTexts, Calendar& calendar);

// Reads 'YYYY-MM-DD-Thh:mm:ss', with any characters between the numbers. A field out of range gives 0.
// Throws error::EParseError for another length than 20, and as parseCalendarTime does.
std::int64_t parseIsoTime(const std::string& text, const TimeZone& zone);

}  // namespace morvex
