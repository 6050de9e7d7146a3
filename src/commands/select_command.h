#pragma once

#include <cstdint>
#include <string>

#include "cli/options.h"
#include "commands/object_path.h"
#include "platform/output.h"
#include "platform/time_zone.h"
#include "query/data_query.h"
#include "query/result.h"

namespace morvex {

// The export of stored data. Times are in seconds since 1970-01-01 00:00 GMT.

// What a row limit lets through, out of a whole answer. At most one of the two is not 0.
struct RowLimit {
  std::int32_t first = 0;
  std::int32_t last = 0;
};

// Seconds, if the text is nothing but digits, else an ISO time; 0 for one that is out of range.
// Throws as parseIsoTime does.
std::int64_t parseTimeArgument(const std::string& text, const TimeZone& zone);

// The server's table in which an object's data are stored.
std::string dataTableName(const tqlquery::Result& object);

// Finds an object that has stored data. Throws as findObject does.
FoundObject findObjectWithData(const ObjectName& name);

// An object's data of a span of time, answered; without entries if the server refused.
comquery::Held<dataquery::GetData> getData(const tqlquery::Result& object, std::int64_t startTime,
                                           std::int64_t endTime);

// Prints the entries that the limit lets through, behind the header of the first of them.
void printEntries(Output& output, const std::string& format, const dataquery::Intervals& entries,
                  const RowLimit& limit, const TimeZone& zone);

}  // namespace morvex
