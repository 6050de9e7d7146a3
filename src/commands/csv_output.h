#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/output.h"
#include "platform/time_zone.h"
#include "protocol/messages/time_series.h"

namespace morvex {

// The CSV of stored data: a header line, then a line for each entry.

inline constexpr std::string_view kDefaultTimeFormat = "%Y-%m-%d %H:%M:%S";

// Formats times. Remembers the last one, as a row usually begins where the one before it ended.
class TimeText {
 public:
  static constexpr std::size_t kRoom = 256;

  // format is strftime's; "%s" alone gives seconds since 1970. A text of kRoom bytes or more comes out empty.
  TimeText(std::string format, const TimeZone& zone);

  // Puts the text of a time into kRoom bytes and returns its end. Throws as breakDownTime does, for any time
  // before 1970.
  char* put(char* to, std::int32_t time);

 private:
  enum class Form { seconds, standard, custom };

  std::size_t format(std::int32_t time);

  std::string format_;
  Form form_ = Form::custom;
  Calendar calendar_;
  std::optional<std::int32_t> time_;  // the last one, and its text
  std::size_t length_ = 0;
  std::array<char, kRoom> text_{};
};

// The header of the entry's kind; nothing for a kind without a CSV form.
void printCsvHeader(Output& output, const protocol::DataInterval& interval);

// One line, or a complaint on standard error for a kind without a CSV form.
void printCsvRow(Output& output, TimeText& times, const protocol::DataInterval& interval);

}  // namespace morvex
