#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/output.h"
#include "foundation/time_zone.h"
#include "protocol/messages/time_series.h"

// The CSV of stored data: a header line, then a line for each entry.

inline constexpr std::string_view kDefaultTimeFormat = "%Y-%m-%d %H:%M:%S";

// Formats times; keeps what neighbouring rows share: a row usually begins where the one before it ended.
class TimeText {
 public:
  static constexpr std::size_t kLongest = 255;

  // format is strftime's; "%s" alone gives plain seconds. A text of more than kLongest bytes comes out empty.
  TimeText(std::string format, const TimeZone& zone);

  // The text of a time, valid until the call after the next. Throws as breakDownTime does, for any time
  // before 1970.
  std::string_view of(std::int32_t time);

 private:
  enum class Form { seconds, standard, custom };
  struct Memo {
    std::int32_t time = 0;
    bool filled = false;
    std::size_t length = 0;
    std::array<char, kLongest + 1> text;  // strftime adds a zero
  };

  std::size_t format(std::int32_t time, std::array<char, kLongest + 1>& text);

  std::string format_;
  Form form_ = Form::custom;
  Calendar calendar_;
  std::array<Memo, 2> memos_;
  std::size_t oldest_ = 0;  // the memo that gives way to the next new time
};

// The header of the entry's kind; nothing for a kind without a CSV form.
void printCsvHeader(Output& output, const protocol::DataInterval& interval);

// One line, or a complaint on standard error for a kind without a CSV form.
void printCsvRow(Output& output, TimeText& times, const protocol::DataInterval& interval);
