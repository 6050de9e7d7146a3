#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/input.h"
#include "platform/time_zone.h"
#include "protocol/messages/time_series.h"
#include "query/data_query.h"

namespace morvex {

// The CSV of stored data, read back.

// In characters, without the line end. A longer line ends the input.
inline constexpr std::size_t kLongestCsvLine = 1023;

// A time as select writes it: seconds since 1970, or YYYY-MM-DD hh:mm:ss. A field out of its range gives 0.
// Throws error::EParseError for a piece that is no number and for a date beyond the 32 bits of a record,
// std::out_of_range for a text that is too short, and as Calendar::compose does.
std::int32_t parseCsvTime(std::string_view text, Calendar& calendar);

// Reads the lines behind the header, which the caller has read, as entries of the pattern's kind, in their
// order. A kind without a CSV form reads nothing and gives none. Throws error::EFatal for a line with a wrong
// number of fields, and what the conversions and the input throw; nothing is kept then.
dataquery::Intervals readCsvLines(LineReader& input, const protocol::DataInterval& pattern,
                                  const TimeZone& zone);

}  // namespace morvex
