// Any text through the reader of CSV, in pieces of any sizes; what it reads prints and reads back the same.

#include <stdexcept>

#include "commands/csv_input.h"
#include "commands/csv_output.h"
#include "commands/support.h"
#include "foundation/text.h"
#include "require.h"
#include "support/text_input.h"

namespace {

using namespace protocol;
using dataquery::Intervals;

const TimeZone kGreenwich(0);

DataInterval patternOf(int kind) {
  DataInterval pattern;
  kind == 0   ? void(pattern.data.emplace<DataIntervalIncident>())
  : kind == 1 ? void(pattern.data.emplace<DataIntervalEnum>())
  : kind == 2 ? void(pattern.data.emplace<DataIntervalSawtooth>())
              : void(pattern.data.emplace<DataIntervalContinuous>());
  return pattern;
}

std::string print(const Intervals& rows, std::string_view format) {
  TextOutput output;
  TimeText times(std::string(format), kGreenwich);
  for (const auto& row : rows) {
    printCsvRow(output, times, *row);
  }
  return output.text();
}

template <class Span>
void limitCounts(Span* span) {
  if (span != nullptr) {
    span->ngood = std::min(span->ngood, 0x7fffffffu);
    span->nbad = std::min(span->nbad, 0x7fffffffu);
  }
}

// Takes away what is known not to come back: the quotes around a text stay part of it, and counts are read as
// signed numbers.
void normalise(DataInterval& row, bool printed) {
  limitCounts(row.data.as<DataIntervalSawtooth>());
  limitCounts(row.data.as<DataIntervalContinuous>());
  if (auto* incident = row.data.as<DataIntervalIncident>(); incident != nullptr && printed) {
    require(incident->text.size() >= 2, "a printed text has its quotes");
    incident->text = incident->text.substr(1, incident->text.size() - 2);
  }
}

bool hasLongLine(const std::string& text) {
  const auto lines = splitToList(text, '\n', false);
  return std::ranges::any_of(lines, [](const auto& line) { return line.size() > kLongestCsvLine; });
}

void checkPrinting(Intervals& rows, const DataInterval& pattern, std::string_view format) {
  std::ranges::for_each(rows, [](auto& row) { normalise(*row, false); });
  const std::string text = print(rows, format);
  if (hasLongLine(text)) {
    return;  // ends the reading
  }
  TextInput input(text);
  Intervals again = readCsvLines(input, pattern, kGreenwich);
  std::ranges::for_each(again, [](auto& row) { normalise(*row, true); });
  require(print(again, format) == text, "what was printed reads back the same");
}

bool isBefore1970(const DataInterval& row) {
  const auto early = [](const auto* span) { return span != nullptr && (span->begin < 0 || span->end < 0); };
  const auto* incident = row.data.as<DataIntervalIncident>();
  return (incident != nullptr && incident->time < 0) || early(row.data.as<DataIntervalEnum>()) ||
         early(row.data.as<DataIntervalSawtooth>()) || early(row.data.as<DataIntervalContinuous>());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const DataInterval pattern = patternOf(input.ConsumeIntegralInRange(0, 3));
  const auto piece = input.ConsumeIntegralInRange<std::size_t>(1, 64);
  const std::string text = input.ConsumeRemainingBytesAsString();
  Intervals rows;
  const auto outcome = [&](std::size_t pieceSize) {
    return outcomeOf([&]() -> std::string {
      try {
        TextInput lines(text, pieceSize);
        rows = readCsvLines(lines, pattern, kGreenwich);
        return print(rows, "%s");
      } catch (const std::out_of_range&) {
        return "a time that is too short";
      }
    });
  };
  require(outcome(piece) == outcome(text.size() + 1), "pieces change nothing");
  checkPrinting(rows, pattern, "%s");
  if (std::ranges::none_of(rows, [](const auto& row) { return isBefore1970(*row); })) {
    checkPrinting(rows, pattern, kDefaultTimeFormat);
  }
  return 0;
}
