#include <memory>
#include <string_view>
#include <utility>

#include "cli/command_output.h"
#include "cli/global_options.h"
#include "cli/login.h"
#include "cli/progress.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "commands/csv_input.h"
#include "commands/stored_data.h"
#include "foundation/errors.h"
#include "platform/clock.h"
#include "platform/input.h"

namespace morvex {

namespace {

// -i is the only option, and only as the first argument; any other text there is a path.
ObjectName takeObject(Arguments& arguments) {
  ObjectName object;
  arguments.takePath(object);
  if (object.text == "-i") {
    if (arguments.atEnd()) {
      usageError("Missing parameter to option -i");
    }
    object = {.text = arguments.take(), .byId = true};
  }
  if (!arguments.atEnd()) {
    usageError("No arguments allowed after path specification.");
  }
  return object;
}

std::unique_ptr<LineReader> openInput() {
  if (usesStandardStream()) {
    return LineReader::standardInput();
  }
  auto file = LineReader::open(g_fileName);
  if (file == nullptr) {
    usageError("Cannot create file \"" + g_fileName + "\"");
  }
  return file;
}

// All rows go in one request, so the server takes either the whole file or none of it.
void putData(const tqlquery::Result& object, std::int32_t dataType, dataquery::Intervals rows) {
  g_progress.enter(Way::sent, "rows", &protocol::DataInterval::kSchema);
  const auto request = ask<dataquery::PutData>(object.id, dataTableName(object), dataType, std::move(rows));
  if (const std::uint32_t code = request->errorCode(); code != 0) {
    throw error::EFatal(errorText(code));
  }
}

// The data that the object already holds decide how the lines are read.
void readCsvData(LineReader& input, const tqlquery::Result& object, const TimeZone& zone) {
  const auto stored = getData(object, 0, currentSeconds());
  g_progress.enter(Way::read, "rows");
  std::string_view header;
  input.next(header, kLongestCsvLine);
  if (stored->intervals.empty()) {
    throw error::EFatal("no such check");
  }
  const auto pattern = std::move(stored->intervals.front());
  stored->intervals = {};  // there may be many, and the rows need their memory
  dataquery::Intervals rows = readCsvLines(input, pattern, zone);
  if (!rows.empty()) {
    putData(object, stored->dataType, std::move(rows));
  }
}

}  // namespace

void insertData(Arguments& arguments) {
  const TimeZone zone(TimeZone::localMarker);
  const ObjectName object = takeObject(arguments);
  login();
  showProgress(StandardStream::input);
  const FoundObject found = findObjectWithData(object);
  const auto input = openInput();
  readCsvData(*input, *found.object, zone);
}

}  // namespace morvex
