#include "commands/select_command.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "cli/command_output.h"
#include "cli/login.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "commands/csv_output.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/clock.h"
#include "platform/traffic.h"
#include "protocol/facts.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

struct SelectOptions {
  std::int64_t now = currentSeconds();
  std::int64_t startTime = 0;
  std::int64_t endTime = now;
  RowLimit limit;
  std::string format{kDefaultTimeFormat};
  bool formatGiven = false;
  ObjectName object;

  // Only the newest entry is wanted, whatever its time.
  bool newestOnly() const { return limit.last == 1 && endTime == now; }
};

std::int64_t takeTime(Arguments& arguments, const TimeZone& zone, std::string_view refusal) {
  const std::int64_t time = parseTimeArgument(arguments.takeValue(), zone);
  if (time == 0) {
    arguments.refuse(refusal);
  }
  return time;
}

std::int32_t takeLimit(Arguments& arguments, std::int32_t otherLimit, std::string_view refusal) {
  const std::int32_t number = stringToInt(arguments.takeValue());
  if (otherLimit != 0) {
    arguments.refuse("Cannot use both -n and -m at the same time.");
  }
  if (number < 1) {
    arguments.refuse(refusal);
  }
  return number;
}

void setFormat(const Arguments& arguments, SelectOptions& options, const char* format) {
  if (options.formatGiven) {
    arguments.refuse("Cannot use both -u and -t at the same time.");
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
      options.limit.last = takeLimit(arguments, options.limit.first, "Cannot limit last number entries.");
      break;
    case 'n':
      options.limit.first = takeLimit(arguments, options.limit.last, "Cannot limit first number entries.");
      break;
    case 't':
      setFormat(arguments, options, arguments.takeValue());
      break;
    case 'u':
      setFormat(arguments, options, "%s");
      break;
    default:
      arguments.refuseOption();
  }
}

SelectOptions parseSelectOptions(int count, char** vector, int index, const TimeZone& zone) {
  SelectOptions options;
  Arguments arguments(count, vector, index);
  while (arguments.nextOption()) {
    takeOption(arguments, options, zone);
  }
  if (options.startTime != 0 && options.endTime != 0 && options.endTime <= options.startTime) {
    arguments.refuse("endtime must be higher than starttime");
  }
  arguments.takeOnlyPath(options.object);
  return options;
}

// A request holds 32 bits, and the server's data lie within them. A time beyond them so means everything up
// to that end; cut to its low bits it would name some other time.
std::int32_t requestTime(std::int64_t time) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(time, Limits::min(), Limits::max()));
}

void selectRange(Output& output, const SelectOptions& options, const tqlquery::Result& object,
                 const TimeZone& zone) {
  auto request = getData(object, options.startTime, options.endTime);
  printEntries(output, options.format, request->intervals, options.limit, zone);
  request.keep();
}

void selectLast(Output& output, const std::string& format, const tqlquery::Result& object,
                const TimeZone& zone) {
  const auto request = comquery::make<dataquery::GetLastData>(object.id, dataTableName(object));
  g_connection->post(*request);
  if (g_connection->await(*request) != 0) {
    throw error::EFatal("Error retrieving result");
  }
  if (request->interval) {
    TimeText times(format, zone);
    printCsvHeader(output, *request->interval);
    printCsvRow(output, times, *request->interval);
  }
}

}  // namespace

std::int64_t parseTimeArgument(const std::string& text, const TimeZone& zone) {
  const bool plain = text.find_first_not_of("0123456789") == std::string::npos;
  return plain ? stringToUint(text) : parseIsoTime(text, zone);
}

std::string dataTableName(const tqlquery::Result& object) {
  return object.className == object_class::kNode ? protocol::kIncidentTable : protocol::kResultTable;
}

FoundObject findObjectWithData(const ObjectName& name) {
  return findObject(name.text, name.byId,
                    {object_class::kCheck, object_class::kNode, object_class::kDomainExport,
                     object_class::kCheckAccumulation},
                    "");
}

comquery::Held<dataquery::GetData> getData(const tqlquery::Result& object, std::int64_t startTime,
                                           std::int64_t endTime) {
  auto request = comquery::make<dataquery::GetData>(object.id, dataTableName(object), requestTime(startTime),
                                                    requestTime(endTime), 0, 0, true);
  g_progress.enter(Way::received, "rows");
  g_connection->post(*request);
  g_connection->await(*request);  // a refusal leaves no entries
  return request;
}

void printEntries(Output& output, const std::string& format, const dataquery::Intervals& entries,
                  const RowLimit& limit, const TimeZone& zone) {
  if (entries.empty()) {
    return;
  }
  const auto atMost = [&entries](std::int32_t count) {
    return std::min(entries.size(), static_cast<std::size_t>(count));
  };
  const std::size_t begin = limit.last == 0 ? 0 : entries.size() - atMost(limit.last);
  const std::size_t end = limit.first == 0 ? entries.size() : atMost(limit.first);
  TimeText times(format, zone);
  g_progress.enter(Way::written, "rows");
  printCsvHeader(output, entries[begin]);
  for (std::size_t i = begin; i < end; ++i) {
    ++g_traffic.rows;
    printCsvRow(output, times, entries[i]);
  }
}

void selectData(int count, char** vector, int index, const TimeZone& zone) {
  const SelectOptions options = parseSelectOptions(count, vector, index, zone);
  login();
  showProgress(StandardStream::output);
  const FoundObject found = findObjectWithData(options.object);
  CommandOutput output(vector[0]);
  if (options.newestOnly()) {
    selectLast(output.stream(), options.format, *found.object, zone);
  } else {
    selectRange(output.stream(), options, *found.object, zone);
  }
  output.finish();
}

}  // namespace morvex
