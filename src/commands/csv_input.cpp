#include "commands/csv_input.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "foundation/errors.h"
#include "foundation/number_text.h"
#include "foundation/text.h"
#include "platform/traffic.h"

namespace morvex {

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

// The columns of any line, cut apart. Nothing in them stops these functions: they return true, or throw.
class SplitColumns {
 public:
  SplitColumns(const Fields& fields, Times& times) : next_(fields.begin()), times_(times) {}

  bool takeTime(std::int32_t& to) { return to = times_.of(*next_++), true; }
  bool takeReal(double& to) { return to = stringToReal(*next_++), true; }
  bool takeUint(std::uint32_t& to) { return to = stringToUint(*next_++), true; }
  bool takeInt(std::int32_t& to) { return to = stringToInt(*next_++), true; }
  bool takeText(std::string& to) { return to = *next_++, true; }

 private:
  Fields::const_iterator next_;
  Times& times_;
};

// The columns of a line such as select writes it, in one pass and without faults. False if it is another.
class PlainColumns {
 public:
  explicit PlainColumns(std::string_view line) : at_(line.data()), end_(at_ + line.size()) {}

  bool takeTime(std::int32_t& to) {
    std::string_view text;
    if (!takeField(text)) {
      return false;
    }
    times_[timeCount_++] = {text, &to};
    return true;
  }
  bool takeReal(double& to) { return goOn(takeDecimal(at_, end_, to)); }
  bool takeUint(std::uint32_t& to) { return goOn(morvex::takeUint(at_, end_, to)); }
  bool takeInt(std::int32_t& to) {
    std::uint32_t number = 0;
    const bool taken = takeUint(number) && std::in_range<std::int32_t>(number);
    to = static_cast<std::int32_t>(number);
    return taken;
  }
  bool takeText(std::string& to) {
    std::string_view text;
    const bool taken = takeField(text);
    to = text;
    return taken;
  }

  // To be called last, as conversions of times have faults, which come after those of the line.
  bool finish(Times& times) {
    if (at_ != end_) {
      return false;
    }
    for (std::size_t i = 0; i < timeCount_; ++i) {
      *times_[i].to = times.of(times_[i].text);
    }
    return true;
  }

 private:
  struct Time {
    std::string_view text;
    std::int32_t* to;
  };

  // Past the comma behind a column.
  bool goOn(const char* stop) {
    if (stop == nullptr || (stop != end_ && *stop != ',')) {
      return false;
    }
    at_ = stop == end_ ? stop : stop + 1;
    return true;
  }

  bool takeField(std::string_view& text) {
    const std::string_view rest(at_, end_);
    text = rest.substr(0, rest.find(','));
    return !text.empty() && goOn(at_ + text.size());
  }

  const char* at_;
  const char* end_;
  std::array<Time, 2> times_;
  std::size_t timeCount_ = 0;
};

// ---- The columns of each kind ----

template <class Columns>
bool fill(DataIntervalIncident& incident, Columns& columns) {
  std::int32_t severity = 0;
  const bool filled =
      columns.takeTime(incident.time) && columns.takeInt(severity) && columns.takeText(incident.text);
  incident.severity = protocol::Severity{severity};
  return filled;
}

template <class Columns>
bool fill(DataIntervalEnum& span, Columns& columns) {
  return columns.takeTime(span.begin) && columns.takeTime(span.end) && columns.takeUint(span.mask) &&
         columns.takeUint(span.ngood) && columns.takeUint(span.nbad);
}

// Sawtooth and continuous. Their counts are read as signed numbers.
template <class Span, class Columns>
bool fill(Span& span, Columns& columns) {
  std::int32_t ngood = 0, nbad = 0;
  const bool filled = columns.takeTime(span.begin) && columns.takeTime(span.end) &&
                      columns.takeReal(span.min) && columns.takeReal(span.avg) &&
                      columns.takeReal(span.max) && columns.takeInt(ngood) && columns.takeInt(nbad);
  span.ngood = static_cast<std::uint32_t>(ngood);
  span.nbad = static_cast<std::uint32_t>(nbad);
  return filled;
}

[[noreturn]] void throwFieldCount(std::uint64_t lineNumber, const Kind& kind) {
  throw error::EFatal("In line " + uint64ToString(lineNumber) + ": number of fields not " +
                      uint64ToString(kind.fields) + " as it should be for " + std::string(kind.name));
}

template <class Record>
void readLine(Record& row, std::string_view line, std::uint64_t number, Times& times) {
  PlainColumns plain(line);
  if (!fill(row, plain) || !plain.finish(times)) {
    Fields fields;
    if (splitFields(fields, line, ',') != kKind<Record>.fields) {
      throwFieldCount(number, kKind<Record>);
    }
    SplitColumns columns(fields, times);
    fill(row, columns);
  }
  if constexpr (requires { row.begin; }) {
    row.end = std::max(row.begin, row.end);  // a span never runs backwards
  }
}

template <class Record>
dataquery::Intervals readLines(LineReader& input, const TimeZone& zone) {
  dataquery::Intervals rows;
  Times times(zone);
  std::string_view line;
  for (std::uint64_t number = 2; input.next(line, kLongestCsvLine); ++number) {  // the header was line 1
    ++g_traffic.rows;
    readLine(rows.emplace_back().data.template emplace<Record>(), line, number, times);
  }
  return rows;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Takes fixed numbers of digits out of a text.
class Digits {
 public:
  explicit Digits(std::string_view text) : text_(text) {}

  std::int32_t pair(std::size_t at) {
    const auto tens = static_cast<unsigned char>(text_[at] - '0');
    const auto ones = static_cast<unsigned char>(text_[at + 1] - '0');
    plain_ &= tens <= 9 && ones <= 9;
    return tens * 10 + ones;
  }
  bool plain() const { return plain_; }  // that is, all were digits

 private:
  std::string_view text_;
  bool plain_ = true;
};

// A time that is not in plain seconds.
std::int64_t parseStandardTime(std::string_view text, Calendar& calendar) {
  constexpr std::size_t kLength = 19;
  if (text.size() >= kLength) {
    Digits digits(text);
    const std::array<std::int32_t, 6> fields{digits.pair(0) * 100 + digits.pair(2),
                                             digits.pair(5),
                                             digits.pair(8),
                                             digits.pair(11),
                                             digits.pair(14),
                                             digits.pair(17)};
    if (digits.plain()) {
      return calendarTime(fields, calendar);
    }
  }
  return parseCalendarTime({text.substr(0, 4), text.substr(5, 2), text.substr(8, 2), text.substr(11, 2),
                            text.substr(14, 2), text.substr(17, 2)},
                           calendar);
}

}  // namespace

std::int32_t parseCsvTime(std::string_view text, Calendar& calendar) {
  if (std::ranges::all_of(text, isDigit)) {
    // The 32 bits of a time as an unsigned number are what select writes, for a time before 1970 too.
    return static_cast<std::int32_t>(stringToUint(text));
  }
  const std::int64_t time = parseStandardTime(text, calendar);
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

}  // namespace morvex
