// Any text through the reader of CSV, in pieces of any sizes; what it reads prints and reads back the same.

#include "commands/csv_input.h"

#include <stdexcept>

#include "commands/csv_output.h"
#include "commands/support.h"
#include "foundation/text.h"
#include "require.h"
#include "support/text_input.h"

using namespace morvex;

namespace {

using namespace protocol;

const TimeZone kGreenwich(0);

template <class Record>
void use(DataInterval& interval) {
  interval.data.emplace<Record>();
}

// Counts are read as signed numbers, so that larger ones do not come back.
template <class Span>
bool limitCounts(Span* span) {
  if (span != nullptr) {
    span->ngood = std::min(span->ngood, 0x7fffffffu);
    span->nbad = std::min(span->nbad, 0x7fffffffu);
  }
  return span != nullptr;
}

std::string print(const dataquery::Intervals& rows, std::string_view format) {
  TextOutput output;
  TimeText times(std::string(format), kGreenwich);
  for (const auto& row : rows) {
    printCsvRow(output, times, row);
  }
  return output.text();
}

dataquery::Intervals read(const std::string& text, std::size_t piece, const DataInterval& pattern) {
  TextInput input(text, piece);
  auto rows = readCsvLines(input, pattern, kGreenwich);
  for (auto& row : rows) {
    limitCounts(row.data.as<DataIntervalSawtooth>()) || limitCounts(row.data.as<DataIntervalContinuous>());
  }
  return rows;
}

void checkPrinting(const dataquery::Intervals& rows, const DataInterval& pattern, std::string_view format) {
  std::string text = print(rows, format);
  const auto lines = splitToList(text, '\n', false);
  if (std::ranges::any_of(lines, [](const auto& line) { return line.size() > kLongestCsvLine; })) {
    return;  // ends the reading
  }
  std::string again = print(read(text, text.size() + 1, pattern), format);
  std::erase(text, '"');  // those around the text of an incident become part of it
  std::erase(again, '"');
  require(again == text, "what was printed reads back the same");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  DataInterval pattern;
  input.PickValueInArray({use<DataIntervalIncident>, use<DataIntervalEnum>, use<DataIntervalSawtooth>,
                          use<DataIntervalContinuous>})(pattern);
  const auto piece = input.ConsumeIntegralInRange<std::size_t>(1, 64);
  const std::string text = input.ConsumeRemainingBytesAsString();
  dataquery::Intervals rows;
  const auto outcome = [&](std::size_t size) {
    return outcomeOf([&]() -> std::string {
      try {
        return print(rows = read(text, size, pattern), "%s");
      } catch (const std::out_of_range&) {
        return "a time that is too short";
      }
    });
  };
  require(outcome(piece) == outcome(text.size() + 1), "pieces change nothing");
  checkPrinting(rows, pattern, "%s");
  outcomeOf<error::ESystemError>([&] {  // times before 1970 have no calendar form
    checkPrinting(rows, pattern, kDefaultTimeFormat);
    return "";
  });
  return 0;
}
