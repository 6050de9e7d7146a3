#include "commands/csv_output.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <utility>

#include "commands/csv_kinds.h"
#include "foundation/number_text.h"
#include "platform/clock.h"

namespace morvex {

namespace {

using protocol::DataInterval;
using protocol::DataIntervalContinuous;
using protocol::DataIntervalEnum;
using protocol::DataIntervalIncident;
using protocol::DataIntervalSawtooth;

// Two decimal digits.
void putPair(char* to, int value) {
  to[0] = static_cast<char>('0' + value / 10);
  to[1] = static_cast<char>('0' + value % 10);
}

// As strftime by kDefaultTimeFormat. The years of 32-bit times have four digits.
char* putStandard(char* to, const std::tm& fields) {
  constexpr std::string_view kSample = "YYYY-mm-dd HH:MM:SS";
  kSample.copy(to, kSample.size());
  const int year = fields.tm_year + 1900;
  putPair(to, year / 100);
  putPair(to + 2, year % 100);
  putPair(to + 5, fields.tm_mon + 1);
  putPair(to + 8, fields.tm_mday);
  putPair(to + 11, fields.tm_hour);
  putPair(to + 14, fields.tm_min);
  putPair(to + 17, fields.tm_sec);
  return to + kSample.size();
}

// ---- The columns of each kind, put into room that is large enough ----

constexpr std::size_t kRowRoom = 2 * TimeText::kRoom + 5 * kNumberRoom + 16;

template <class Record>
std::size_t roomFor(const Record& record) {
  if constexpr (requires { record.text; }) {
    return kRowRoom + record.text.size();
  }
  return kRowRoom;
}

char* putText(char* to, std::string_view text) { return std::copy(text.begin(), text.end(), to); }

char* putSpan(char* to, TimeText& times, std::int32_t begin, std::int32_t end) {
  to = times.put(to, begin);
  *to = ',';
  return times.put(to + 1, end);
}

char* putColumn(char* to, double value) {
  *to = ',';
  return putReal(to + 1, value);
}

char* putColumn(char* to, std::uint32_t value) {
  *to = ',';
  return putUint(to + 1, value);
}

char* putColumns(char* to, TimeText& times, const DataIntervalIncident& incident) {
  to = times.put(to, incident.time);
  *to = ',';
  to = putInt(to + 1, static_cast<std::int32_t>(incident.severity));
  to = putText(to, ",\"");
  to = putText(to, incident.text);
  *to = '"';
  return to + 1;
}

char* putColumns(char* to, TimeText& times, const DataIntervalEnum& span) {
  to = putSpan(to, times, span.begin, span.end);
  to = putColumn(to, span.mask);
  to = putColumn(to, span.ngood);
  return putColumn(to, span.nbad);
}

// Sawtooth and continuous.
template <class Span>
char* putColumns(char* to, TimeText& times, const Span& span) {
  to = putSpan(to, times, span.begin, span.end);
  to = putColumn(to, span.min);
  to = putColumn(to, span.avg);
  to = putColumn(to, span.max);
  to = putColumn(to, span.ngood);
  return putColumn(to, span.nbad);
}

}  // namespace

TimeText::TimeText(std::string format, const TimeZone& zone) : format_(std::move(format)), calendar_(zone) {
  if (format_ == "%s") {
    form_ = Form::seconds;
  } else if (format_ == kDefaultTimeFormat) {
    form_ = Form::standard;
  }
}

char* TimeText::put(char* to, std::int32_t time) {
  if (time != time_) {
    length_ = format(time);
    time_ = time;
  }
  constexpr std::size_t kMost = 32;
  std::memcpy(to, text_.data(), kMost);  // of fixed length, which takes no call
  if (length_ > kMost) {
    std::memcpy(to, text_.data(), length_);
  }
  return to + length_;
}

std::size_t TimeText::format(std::int32_t time) {
  char* const text = text_.data();
  if (form_ == Form::seconds) {
    return static_cast<std::size_t>(putUint(text, static_cast<std::uint32_t>(time)) - text);
  }
  const std::tm& fields = calendar_.breakDown(static_cast<std::uint64_t>(time));
  if (form_ == Form::standard) {
    return static_cast<std::size_t>(putStandard(text, fields) - text);
  }
  // 0 also stands for an empty text; the buffer is then undefined.
  return platform_format_time(text, text_.size(), format_.c_str(), fields);
}

void printCsvHeader(Output& output, const DataInterval& interval) {
  visitCsvKind(interval, [&output]<class Record>(const Record&) {
    output.write(kCsvKind<Record>.header);
    output.endLine();
  });
}

void printCsvRow(Output& output, TimeText& times, const DataInterval& interval) {
  const bool printed = visitCsvKind(interval, [&](const auto& record) {
    output.endLine(putColumns(output.room(roomFor(record)), times, record));
  });
  if (!printed) {
    output.flush();  // the rows before it come first, and a failure to write them is reported
    printError("Data of unknown type\n");
  }
}

}  // namespace morvex
