#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "foundation/output.h"
#include "foundation/time_zone.h"
#include "protocol/messages/time_series.h"

// The CSV of stored data: a header line, then a line for each entry.

// Formats times; keeps what neighbouring rows share.
class TimeText {
 public:
  // format is strftime's; "%s" alone gives plain seconds.
  TimeText(std::string format, const TimeZone& zone);

  // The text of a time, valid until the call after the next. Throws as breakDownTime does.
  const std::string& of(std::int32_t time);

 private:
  struct Memo {
    std::int32_t time = 0;
    bool filled = false;
    std::string text;
  };

  void format(std::int32_t time, std::string& text);

  std::string format_;
  TimeZone zone_;
  std::array<Memo, 2> memos_;
  std::size_t oldest_ = 0;
};

// The header of the entry's kind; nothing for a kind without a CSV form.
void printCsvHeader(Output& output, const protocol::DataInterval& interval);

// One line, or a complaint on standard error for a kind without a CSV form.
void printCsvRow(Output& output, TimeText& times, const protocol::DataInterval& interval);
