#include "commands/csv_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>

#include "commands/csv_output.h"
#include "commands/support.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "support/text_input.h"

using namespace morvex;

namespace {

using namespace protocol;
using Random = std::mt19937_64;

const TimeZone kGreenwich(0);

// The lines as select -u prints them again, or the fault.
template <class Record>
std::string readBack(const std::string& lines) try {
  TextInput input(lines);
  DataInterval pattern;
  pattern.data.emplace<Record>();
  const dataquery::Intervals rows = readCsvLines(input, pattern, kGreenwich);
  TextOutput output;
  TimeText times("%s", kGreenwich);
  std::ranges::for_each(rows, [&](const auto& row) { printCsvRow(output, times, row); });
  return output.text();
} catch (const error::Exception& fault) {
  return fault.text();
} catch (const std::out_of_range&) {
  return "a time that is too short";
}

TEST(CsvOutput, ATimeThatFailedIsNotTheLastOne) {
  TimeText times(std::string(kDefaultTimeFormat), kGreenwich);
  char room[TimeText::kRoom];
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(textOf<error::ESystemError>([&] { times.put(room, -1); }),
              "Couldn't get localtime for time 18446744073709551615");
  }
}

// The line with a few characters removed, inserted or replaced.
std::string spoilt(std::string line, Random& random) {
  constexpr std::string_view kCharacters = "0123456789.,,-+eE: x\"\r";
  for (std::uint64_t i = random() % 4; i > 0; --i) {
    const std::size_t at = random() % line.size();
    line.replace(at, random() % 2, std::string(random() % 3, kCharacters[random() % kCharacters.size()]));
    line += line.empty() ? "1" : "";
  }
  return line;
}

// An empty column is ignored, but a line with one is cut apart before it is read.
TEST(CsvInput, LinesMeanTheSameTheShortWayAndTheLong) {
  Random random(1);
  for (int i = 0; i < 4000; ++i) {
    for (const auto& [function, line] :
         {std::pair(&readBack<DataIntervalIncident>, "1700000000,2,Some text"),
          {&readBack<DataIntervalEnum>, "2003-03-25 00:25:03,1700000300,7,5,0"},
          {&readBack<DataIntervalSawtooth>, "2003-03-25 00:25:03,2003-03-25 00:30:03,35.4092,-1.5,1e-07,5,0"},
          {&readBack<DataIntervalContinuous>,
           "1700000000,1700000300,0.125,1234567,12,2147483647,4294967295"}}) {
      const std::string text = spoilt(line, random);
      ASSERT_EQ(function(text), function("," + text)) << text;
    }
  }
}

}  // namespace
