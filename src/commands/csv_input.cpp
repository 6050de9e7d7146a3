#include "commands/csv_input.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "foundation/errors.h"
#include "foundation/text.h"

namespace {

using protocol::DataIntervalContinuous;
using protocol::DataIntervalEnum;
using protocol::DataIntervalIncident;
using protocol::DataIntervalSawtooth;

struct Kind {
  std::string_view name;
  std::size_t fields;
};

template <class Record>
constexpr Kind kKind{};
template <>
constexpr Kind kKind<DataIntervalIncident>{"incidents", 3};
template <>
constexpr Kind kKind<DataIntervalSawtooth>{"sawtooth", 7};
template <>
constexpr Kind kKind<DataIntervalEnum>{"enum", 5};
template <>
constexpr Kind kKind<DataIntervalContinuous>{"continuous", 7};

using Fields = std::array<std::string_view, 7>;

// Converts times; remembers the last one, as a row usually begins where the one before it ended.
class Times {
 public:
  explicit Times(const TimeZone& zone) : calendar_(zone) {}

  std::int32_t of(std::string_view text) {  // which is never empty: empty fields are none
    if (text != text_) {
      time_ = parseCsvTime(text, calendar_);
      text_ = text;
    }
    return time_;
  }

 private:
  Calendar calendar_;
  std::string text_;
  std::int32_t time_ = 0;
};

template <class Span>
void fillTimes(Span& span, const Fields& fields, Times& times) {
  span.begin = times.of(fields[0]);
  span.end = std::max(times.of(fields[1]), span.begin);  // a span never runs backwards
}

void fill(DataIntervalIncident& incident, const Fields& fields, Times& times) {
  incident.time = times.of(fields[0]);
  incident.severity = protocol::Severity{stringToInt(fields[1])};
  incident.text = fields[2];
}

void fill(DataIntervalEnum& span, const Fields& fields, Times& times) {
  fillTimes(span, fields, times);
  span.mask = stringToUint(fields[2]);
  span.ngood = stringToUint(fields[3]);
  span.nbad = stringToUint(fields[4]);
}

// Sawtooth and continuous. Their counts are read as signed numbers.
template <class Span>
void fill(Span& span, const Fields& fields, Times& times) {
  fillTimes(span, fields, times);
  span.min = stringToReal(fields[2]);
  span.avg = stringToReal(fields[3]);
  span.max = stringToReal(fields[4]);
  span.ngood = static_cast<std::uint32_t>(stringToInt(fields[5]));
  span.nbad = static_cast<std::uint32_t>(stringToInt(fields[6]));
}

[[noreturn]] void throwFieldCount(std::uint64_t lineNumber, const Kind& kind) {
  throw error::EFatal("In line " + uint64ToString(lineNumber) + ": number of fields not " +
                      uint64ToString(kind.fields) + " as it should be for " + std::string(kind.name));
}

template <class Record>
dataquery::Intervals readLines(LineReader& input, const TimeZone& zone) {
  constexpr const Kind& kind = kKind<Record>;
  dataquery::Intervals rows;
  Times times(zone);
  Fields fields;
  std::string_view line;
  for (std::uint64_t number = 2; input.next(line, kLongestCsvLine); ++number) {  // the header was line 1
    if (splitFields(fields, line, ',') != kind.fields) {
      throwFieldCount(number, kind);
    }
    fill(rows.emplace_back().data.template emplace<Record>(), fields, times);
  }
  return rows;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::int32_t parseCsvTime(std::string_view text, Calendar& calendar) {
  if (std::ranges::all_of(text, isDigit)) {
    // The 32 bits of a time as an unsigned number are what select writes, for a time before 1970 too.
    return static_cast<std::int32_t>(stringToUint(text));
  }
  const std::int64_t time = parseCalendarTime({text.substr(0, 4), text.substr(5, 2), text.substr(8, 2),
                                               text.substr(11, 2), text.substr(14, 2), text.substr(17, 2)},
                                              calendar);
  if (!std::in_range<std::int32_t>(time)) {  // cut to 32 bits it would be stored as some other time
    throw error::EParseError("Error parsing: " + quotedString(text));
  }
  return static_cast<std::int32_t>(time);
}

dataquery::Intervals readCsvLines(LineReader& input, const protocol::DataInterval& pattern,
                                  const TimeZone& zone) {
  if (pattern.data.as<DataIntervalIncident>() != nullptr) {
    return readLines<DataIntervalIncident>(input, zone);
  }
  if (pattern.data.as<DataIntervalSawtooth>() != nullptr) {
    return readLines<DataIntervalSawtooth>(input, zone);
  }
  if (pattern.data.as<DataIntervalEnum>() != nullptr) {
    return readLines<DataIntervalEnum>(input, zone);
  }
  if (pattern.data.as<DataIntervalContinuous>() != nullptr) {
    return readLines<DataIntervalContinuous>(input, zone);
  }
  return {};
}
