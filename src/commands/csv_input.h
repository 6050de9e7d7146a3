#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/input.h"
#include "foundation/time_zone.h"
#include "protocol/messages/time_series.h"
#include "query/data_query.h"

// A time as select writes it: plain seconds, or YYYY-MM-DD hh:mm:ss. A field out of its range gives 0.
// Throws error::EParseError for a piece that is no number, std::out_of_range for a text that is too short.
std::int64_t parseCsvTime(std::string_view text, const TimeZone& zone);

// Reads the lines behind the header as entries of the pattern's kind, in their order. A kind without a CSV
// form gives none. Throws error::EFatal for a line with a wrong number of fields, and what the conversions
// throw; nothing is kept then.
dataquery::Intervals readCsvLines(LineReader& input, const protocol::DataInterval& pattern,
                                  const TimeZone& zone);
