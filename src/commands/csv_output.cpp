#include "commands/csv_output.h"

#include <ctime>
#include <utility>

#include "foundation/text.h"

namespace {

using protocol::DataInterval;
using protocol::DataIntervalContinuous;
using protocol::DataIntervalEnum;
using protocol::DataIntervalIncident;
using protocol::DataIntervalSawtooth;

constexpr std::size_t kTimeBuffer = 256;

// Two decimal digits.
void putPair(char* to, int value) {
  to[0] = static_cast<char>('0' + value / 10);
  to[1] = static_cast<char>('0' + value % 10);
}

// What strftime gives for kDefaultTimeFormat. 32-bit times lie in years of four digits.
void formatDefault(const std::tm& fields, std::string& text) {
  text = "YYYY-mm-dd HH:MM:SS";
  const int year = fields.tm_year + 1900;
  putPair(&text[0], year / 100);
  putPair(&text[2], year % 100);
  putPair(&text[5], fields.tm_mon + 1);
  putPair(&text[8], fields.tm_mday);
  putPair(&text[11], fields.tm_hour);
  putPair(&text[14], fields.tm_min);
  putPair(&text[17], fields.tm_sec);
}

void writeUint(Output& output, std::uint32_t value) {
  output.write(",");
  output.write(uintToString(value));
}

void writeReal(Output& output, double value) {
  std::string text;  // short enough to live without the heap
  text += ',';
  appendReal(text, value);
  output.write(text);
}

// Both conversions come before any output, so that a failure leaves no partial line.
void writeSpan(Output& output, TimeText& times, std::int32_t begin, std::int32_t end) {
  const std::string& beginText = times.of(begin);
  const std::string& endText = times.of(end);
  output.write(beginText);
  output.write(",");
  output.write(endText);
}

void writeColumns(Output& output, TimeText& times, const DataIntervalIncident& incident) {
  output.write(times.of(incident.time));
  output.write(",");
  output.write(intToString(static_cast<std::int32_t>(incident.severity)));
  output.write(",\"");
  output.write(incident.text);
  output.write("\"");
}

void writeColumns(Output& output, TimeText& times, const DataIntervalEnum& span) {
  writeSpan(output, times, span.begin, span.end);
  writeUint(output, span.mask);
  writeUint(output, span.ngood);
  writeUint(output, span.nbad);
}

// Sawtooth and continuous.
template <class Span>
void writeColumns(Output& output, TimeText& times, const Span& span) {
  writeSpan(output, times, span.begin, span.end);
  writeReal(output, span.min);
  writeReal(output, span.avg);
  writeReal(output, span.max);
  writeUint(output, span.ngood);
  writeUint(output, span.nbad);
}

// Calls the function with the entry's record. False for a kind without a CSV form.
template <class Function>
bool visit(const DataInterval& interval, Function function) {
  const auto attempt = [&function](const auto* record) {
    if (record == nullptr) {
      return false;
    }
    function(*record);
    return true;
  };
  const auto& data = interval.data;
  return attempt(data.as<DataIntervalIncident>()) || attempt(data.as<DataIntervalSawtooth>()) ||
         attempt(data.as<DataIntervalEnum>()) || attempt(data.as<DataIntervalContinuous>());
}

constexpr std::string_view headerOf(const DataIntervalIncident&) { return "Time,Severity,Text"; }
constexpr std::string_view headerOf(const DataIntervalEnum&) { return "Begin,End,Mask,ngood,nbad"; }
template <class Span>
constexpr std::string_view headerOf(const Span&) {
  return "Begin,End,Min,Avg,Max,ngood,nbad";
}

}  // namespace

TimeText::TimeText(std::string format, const TimeZone& zone) : format_(std::move(format)), zone_(zone) {
  if (format_ == "%s") {
    form_ = Form::seconds;
  } else if (format_ == kDefaultTimeFormat) {
    form_ = Form::standard;
  }
}

const std::string& TimeText::of(std::int32_t time) {
  std::size_t place = 0;
  while (place < memos_.size() && !(memos_[place].filled && memos_[place].time == time)) {
    ++place;
  }
  if (place == memos_.size()) {
    place = oldest_;
    memos_[place].filled = false;  // should the conversion fail
    format(time, memos_[place].text);
    memos_[place].time = time;
    memos_[place].filled = true;
  }
  oldest_ = 1 - place;
  return memos_[place].text;
}

void TimeText::format(std::int32_t time, std::string& text) const {
  if (form_ == Form::seconds) {
    text = uintToString(static_cast<std::uint32_t>(time));
    return;
  }
  std::tm fields{};
  breakDownTime(zone_, fields, static_cast<std::uint64_t>(time));
  if (form_ == Form::standard) {
    formatDefault(fields, text);
    return;
  }
  std::array<char, kTimeBuffer> buffer{};
  // 0 also stands for an empty text; what the buffer holds then is undefined.
  text.assign(buffer.data(), std::strftime(buffer.data(), buffer.size(), format_.c_str(), &fields));
}

void printCsvHeader(Output& output, const DataInterval& interval) {
  visit(interval, [&output](const auto& record) {
    output.write(headerOf(record));
    output.endLine();
  });
}

void printCsvRow(Output& output, TimeText& times, const DataInterval& interval) {
  const bool printed = visit(interval, [&](const auto& record) {
    writeColumns(output, times, record);
    output.endLine();
  });
  if (!printed) {
    output.flush();  // the rows before it come first, and a failure to write them is heard of
    printError("Data of unknown type\n");
  }
}
