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

double rounded(double value) {
  std::string text;
  appendReal(text, value);
  return stringToReal(text);
}

// Takes away what is known not to come back: counts are read as signed numbers, reals have six digits.
template <class Span>
bool round(Span* span) {
  if (span != nullptr) {
    span->ngood = std::min(span->ngood, 0x7fffffffu);
    span->nbad = std::min(span->nbad, 0x7fffffffu);
    span->min = rounded(span->min), span->avg = rounded(span->avg), span->max = rounded(span->max);
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
    round(row.data.as<DataIntervalSawtooth>()) || round(row.data.as<DataIntervalContinuous>());
  }
  return rows;
}

void checkPrinting(const dataquery::Intervals& rows, const DataInterval& pattern, std::string_view format) {
  const std::string text = print(rows, format);
  const auto lines = splitToList(text, '\n', false);
  if (std::ranges::any_of(lines, [](const auto& line) { return line.size() > kLongestCsvLine; })) {
    return;  // ends the reading
  }
  auto again = read(text, text.size() + 1, pattern);
  require(again.size() == rows.size(), "as many rows are read as were printed");
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (auto* incident = again[i].data.as<DataIntervalIncident>()) {  // the quotes stay part of the text
      incident->text = incident->text.substr(1, incident->text.size() - 2);
    }
    const bool hasNan = !(*rows[i].clone() == rows[i]);
    require(hasNan || again[i] == rows[i], "what was printed reads back the same");
  }
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
