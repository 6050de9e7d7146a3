#include "commands/csv_input.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "commands/csv_kinds.h"
#include "foundation/errors.h"
#include "foundation/number_text.h"
#include "foundation/text.h"
#include "platform/traffic.h"

namespace morvex {

namespace {

using protocol::DataIntervalEnum;
using protocol::DataIntervalIncident;

using Fields = std::array<std::string_view, 7>;

// Converts times; remembers the last one, as a row usually begins where the one before it ended.
class Times {
 public:
  explicit Times(const TimeZone& zone) : calendar_(zone) {}

  std::int32_t of(std::string_view text) {  // never empty: empty fields do not count
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

// The columns of any line, cut apart. These functions return true, or throw.
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

// The columns of a line in the form that select writes, read in one pass. False for any other form.
class WrittenColumns {
 public:
  explicit WrittenColumns(std::string_view line) : at_(line.data()), end_(at_ + line.size()) {}

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

  // Called last: a wrong time is reported only if the rest of the line is right.
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

  // Steps past the comma behind a column.
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

[[noreturn]] void throwFieldCount(std::uint64_t lineNumber, const CsvKind& kind) {
  throw error::EFatal("In line " + uint64ToString(lineNumber) + ": number of fields not " +
                      uint64ToString(kind.columns()) + " as it should be for " + std::string(kind.name));
}

template <class Record>
void readLine(Record& row, std::string_view line, std::uint64_t number, Times& times) {
  WrittenColumns written(line);
  if (!fill(row, written) || !written.finish(times)) {
    Fields fields;
    if (splitFields(fields, line, ',') != kCsvKind<Record>.columns()) {
      throwFieldCount(number, kCsvKind<Record>);
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
    allDigits_ &= tens <= 9 && ones <= 9;
    return tens * 10 + ones;
  }
  bool allDigits() const { return allDigits_; }

 private:
  std::string_view text_;
  bool allDigits_ = true;
};

// A time as YYYY-MM-DD hh:mm:ss.
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
    if (digits.allDigits()) {
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
  // select could not show the one, and would show the low 32 bits of the other.
  if (time < 0 || !std::in_range<std::int32_t>(time)) {
    throw error::EParseError("Error parsing: " + quotedString(text));
  }
  return static_cast<std::int32_t>(time);
}

dataquery::Intervals readCsvLines(LineReader& input, const protocol::DataInterval& pattern,
                                  const TimeZone& zone) {
  dataquery::Intervals rows;
  visitCsvKind(pattern, [&]<class Record>(const Record&) { rows = readLines<Record>(input, zone); });
  return rows;
}

}  // namespace morvex
