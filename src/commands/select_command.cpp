#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "cli/command_output.h"
#include "cli/login.h"
#include "cli/progress.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "commands/csv_output.h"
#include "commands/stored_data.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/clock.h"
#include "platform/traffic.h"

namespace morvex {

namespace {

struct SelectOptions {
  std::int64_t now = currentSeconds();
  std::int64_t startTime = 0;
  std::int64_t endTime = now;
  std::int32_t first = 0, last = 0;  // how many entries; at most one of the two is not 0
  std::string format{kDefaultTimeFormat};
  bool formatGiven = false;
  ObjectName object;

  // Only the newest entry is wanted, whatever its time.
  bool newestOnly() const { return last == 1 && endTime == now; }
};

// Seconds since 1970-01-01 00:00 GMT, or an ISO time.
std::int64_t takeTime(Arguments& arguments, const TimeZone& zone, std::string_view refusal) {
  const std::string text = arguments.takeValue();
  const bool isSeconds = text.find_first_not_of("0123456789") == std::string::npos;
  const std::int64_t time = isSeconds ? stringToUint(text) : parseIsoTime(text, zone);
  if (time == 0) {  // also for an ISO time with a field out of range
    usageError(refusal);
  }
  return time;
}

std::int32_t takeLimit(Arguments& arguments, std::int32_t otherLimit, std::string_view refusal) {
  const std::int32_t number = stringToInt(arguments.takeValue());
  if (otherLimit != 0) {
    usageError("Cannot use both -n and -m at the same time.");
  }
  if (number < 1) {
    usageError(refusal);
  }
  return number;
}

void setFormat(SelectOptions& options, const char* format) {
  if (options.formatGiven) {
    usageError("Cannot use both -u and -t at the same time.");
  }
  options.format = format;
  options.formatGiven = true;
}

void takeOption(Arguments& arguments, SelectOptions& options, const TimeZone& zone) {
  switch (arguments.letter()) {
    case 'b':
      options.startTime = takeTime(arguments, zone, "Cannot starttime.");
      break;
    case 'e':
      options.endTime = takeTime(arguments, zone, "Cannot endtime.");
      break;
    case 'i':
      arguments.takeId(options.object);
      break;
    case 'm':
      options.last = takeLimit(arguments, options.first, "Cannot limit last number entries.");
      break;
    case 'n':
      options.first = takeLimit(arguments, options.last, "Cannot limit first number entries.");
      break;
    case 't':
      setFormat(options, arguments.takeValue());
      break;
    case 'u':
      setFormat(options, "%s");
      break;
    default:
      arguments.refuseOption();
  }
}

SelectOptions takeSelectOptions(Arguments& arguments, const TimeZone& zone) {
  SelectOptions options;
  while (arguments.nextOption()) {
    takeOption(arguments, options, zone);
  }
  if (options.startTime != 0 && options.endTime != 0 && options.endTime <= options.startTime) {
    usageError("endtime must be higher than starttime");
  }
  arguments.takeOnlyPath(options.object);
  return options;
}

// Prints the entries within the limit, behind the header of the first of them.
void selectRange(Output& output, const SelectOptions& options, const tqlquery::Result& object,
                 const TimeZone& zone) {
  auto request = getData(object, options.startTime, options.endTime);
  const dataquery::Intervals& entries = request->intervals;
  if (entries.empty()) {
    return;
  }
  const auto atMost = [&entries](std::int32_t count) {
    return std::min(entries.size(), static_cast<std::size_t>(count));
  };
  const std::size_t begin = options.last == 0 ? 0 : entries.size() - atMost(options.last);
  const std::size_t end = options.first == 0 ? entries.size() : atMost(options.first);
  TimeText times(options.format, zone);
  g_progress.enter(Way::written, "rows");
  printCsvHeader(output, entries[begin]);
  for (std::size_t i = begin; i < end; ++i) {
    ++g_traffic.rows;
    printCsvRow(output, times, entries[i]);
  }
  request.keep();
}

void selectLast(Output& output, const std::string& format, const tqlquery::Result& object,
                const TimeZone& zone) {
  const auto request = ask<dataquery::GetLastData>(object.id, dataTableName(object));
  if (request->errorCode() != 0) {
    throw error::EFatal("Error retrieving result");
  }
  if (request->interval) {
    TimeText times(format, zone);
    printCsvHeader(output, *request->interval);
    printCsvRow(output, times, *request->interval);
  }
}

}  // namespace

void selectData(Arguments& arguments) {
  const TimeZone zone(TimeZone::localMarker);
  const SelectOptions options = takeSelectOptions(arguments, zone);
  login();
  showProgress(StandardStream::output);
  const FoundObject found = findObjectWithData(options.object);
  CommandOutput output;
  if (options.newestOnly()) {
    selectLast(output.stream(), options.format, *found.object, zone);
  } else {
    selectRange(output.stream(), options, *found.object, zone);
  }
  output.finish();
}

}  // namespace morvex
