#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace morvex {

// A zone for time conversions: the process's own, or a fixed offset.
// The first construction in the process records the environment variable TZ, so that conversions in the
// process's own zone always mean the zone in which the program was started.
class TimeZone {
 public:
  static constexpr std::int32_t localMarker = 0xffffff;

  // Seconds east of Greenwich, or localMarker.
  explicit TimeZone(std::int32_t offsetOrMarker);

  std::int32_t offset;
};

// Seconds since 1970-01-01 00:00 UTC to calendar time. Throws error::ESystemError.
void breakDownTime(const TimeZone& zone, std::tm& result, std::uint64_t time);

// And back. Fields out of their range carry over, and the structure may be normalised.
// Throws error::ESystemError for a time that is not representable, or is -1.
std::int64_t composeTime(const TimeZone& zone, std::tm& fields);

// Conversions of many times that lie near each other, as those of a series do: with the outcome of the two
// functions above, called in the same order. The C library is asked about each day; the times of an even one,
// which lies a day or more away from any change of the clocks, follow by arithmetic. Clocks that are changed
// and changed back within three days would go unnoticed; no zone has that.
class Calendar {
 public:
  explicit Calendar(const TimeZone& zone) : zone_(zone) {}

  // As breakDownTime. Good until the next call.
  const std::tm& breakDown(std::uint64_t time);

  // As composeTime. Where clocks were put back, the C library goes by the offset of what it composed before:
  // as it should, unless another Calendar has composed in between.
  std::int64_t compose(const std::tm& fields);

 private:
  enum class Day { unknown, unchecked, even, uneven };

  void note(const std::tm& fields, std::uint64_t time, bool composed);
  bool isEven();
  bool goesOnAt(std::uint64_t time) const;

  TimeZone zone_;
  Day day_ = Day::unknown;
  std::uint64_t begin_ = 0;  // of the day, reckoned back from a time in it
  std::tm fields_{};         // of the last time in it
  bool composed_ = false;    // a time in it was the last that the C library composed
};

// Year, month, day, hour, minute and second to seconds since 1970. A field out of its range gives 0; the day
// is not compared with the length of its month. Throws as composeTime does, and error::EParseError for a text
// that is no number.
std::int64_t calendarTime(const std::array<std::int32_t, 6>& fields, Calendar& calendar);
std::int64_t parseCalendarTime(const std::array<std::string_view, 6>& fieldTexts, Calendar& calendar);

// Reads 'YYYY-MM-DD-Thh:mm:ss', whatever stands between the numbers. A field out of its range gives 0.
// Throws error::EParseError for another length than 20, and as parseCalendarTime does.
std::int64_t parseIsoTime(const std::string& text, const TimeZone& zone);

}  // namespace morvex
