#include "commands/csv_input.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <tuple>

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

template <class Record>
dataquery::Intervals read(const std::string& lines) {
  TextInput input(lines);
  DataInterval pattern;
  pattern.data.emplace<Record>();
  return readCsvLines(input, pattern, kGreenwich);
}

// As select -u does.
std::string print(const dataquery::Intervals& rows) {
  TextOutput output;
  TimeText times("%s", kGreenwich);
  std::ranges::for_each(rows, [&](const auto& row) { printCsvRow(output, times, row); });
  return output.text();
}

// What is printed of the lines that were read, or the fault.
template <class Record>
std::string readBack(const std::string& lines) try {
  return print(read<Record>(lines));
} catch (const error::Exception& fault) {
  return fault.text();
} catch (const std::out_of_range&) {
  return "a time that is too short";
}

const auto incidents = readBack<DataIntervalIncident>, sawtooth = readBack<DataIntervalSawtooth>,
           masks = readBack<DataIntervalEnum>, continuous = readBack<DataIntervalContinuous>;
const std::tuple<std::string (*)(const std::string&), std::string, std::string> kRows[] = {
    {incidents, "1000,2,\"down\"\r\n4294967295,-3,x", "1000,2,\"\"down\"\"\n4294967295,-3,\"x\"\n"},
    {incidents, ",,1970-01-01 00:00:10,,99999999999, up ,\n", "10,2147483647,\" up \"\n"},
    {incidents, "1,2,a\n1,2,a,b", "In line 3: number of fields not 3 as it should be for incidents"},
    {incidents, "1,2x,a", R"(Error parsing: "2x")"},
    {masks, "20,10,1,2,3\n10,20,1,2,-1\n20,30,1,2,3\n", "20,20,1,2,3\n10,20,1,2,4294967295\n20,30,1,2,3\n"},
    {masks, "2147483647,2147483648,0,0,0", "2147483647,2147483647,0,0,0\n"},         // the end is one of 1901
    {masks, "1,2,3,4,5\n" + std::string(1015, '0') + "1,2,3,4,5\n", "1,2,3,4,5\n"},  // 1024 characters
    {masks, std::string(1014, '0') + "1,2,3,4,5\r\n1,2,3,4,5", "1,2,3,4,5\n1,2,3,4,5\n"},  // 1023
    {masks, "1,2,3,,5\n", "In line 2: number of fields not 5 as it should be for enum"},
    {sawtooth, "1,2,-.5,nan, 0x1p-2,5,-1\n", "1,2,-0.5,nan,0.25,5,4294967295\n"},
    {sawtooth, "\n", "In line 2: number of fields not 7 as it should be for sawtooth"},
    {sawtooth, "1,2,3,4,1e,6,7", R"(Error parsing: "1e")"},
    {continuous, "1,2,-inf,1e999,1e-7,4294967295,6\n", "1,2,-inf,inf,1e-07,2147483647,6\n"},
    {continuous, "1,2,3,4,5,6,7\r\n\r\n", "In line 3: number of fields not 7 as it should be for continuous"},
    {readBack<DataIntervalRawDEPRECATED>, "1,2,3\n", ""}};

TEST(CsvInput, EveryKindHasItsColumnsAndFaults) {
  for (const auto& [function, lines, result] : kRows) {
    EXPECT_EQ(function(lines), result) << lines;
  }
  const auto rows = read<DataIntervalSawtooth>("1,2,3,4,5,6,7\n");
  const auto& row = *rows.at(0).data.as<DataIntervalSawtooth>();
  EXPECT_TRUE(row.min == 3 && row.avg == 4 && row.max == 5);
}

TEST(CsvInput, TimesAreSecondsOrFixedPositions) {
  Calendar calendar(kGreenwich);
  const auto parse = [&](const char* text) { return parseCsvTime(text, calendar); };
  EXPECT_EQ(parse("4294967295"), -1);
  EXPECT_EQ(parse("2003-03-25 00:25:03"), 1048551903);
  EXPECT_EQ(parse("2003x03/25T00.25 03 etc."), 1048551903);
  EXPECT_EQ(parse("2003-03-25 00:25:"), 1048551900);
  EXPECT_EQ(parse("2003-02-31 00:25:61"), 1046651161);
  EXPECT_EQ(parse("2038-01-19 03:14:07"), 2147483647);
  for (const char* text : {"2003-13-25 00:25:03", "2003-00-25 00:25:03", "2003-03-00 00:25:03",
                           "2003-03-25 24:25:03", "2003-03-25 00:60:03", "1899-03-25 00:25:03"}) {
    EXPECT_EQ(parse(text), 0) << text;
  }
  EXPECT_EQ(textOf<error::EParseError>([&] { parse("2038-01-19 03:14:08"); }),
            R"(Error parsing: "2038-01-19 03:14:08")");
  EXPECT_THROW(parse("1901-12-13 20:45:51"), error::Exception);  // some C libraries refuse it themselves
  EXPECT_EQ(textOf<error::EParseError>([&] { parse("2003-03-25 0x:25:03"); }), R"(Error parsing: "0x")");
  EXPECT_THROW(parse("2003-03-25 00:25"), std::out_of_range);
}

// A few characters are taken out of the line, put in or replaced.
std::string spoilt(std::string line, Random& random) {
  constexpr std::string_view kCharacters = "0123456789.,,-+eE: x\"\r";
  for (std::uint64_t i = random() % 4; i > 0; --i) {
    const std::size_t at = random() % line.size();
    line.replace(at, random() % 2, std::string(random() % 3, kCharacters[random() % kCharacters.size()]));
    line += line.empty() ? "1" : "";
  }
  return line;
}

// Empty columns are none, and send the line the long way.
TEST(CsvInput, LinesMeanTheSameTheShortWayAndTheLong) {
  Random random(1);
  for (int i = 0; i < 4000; ++i) {
    for (const auto& [function, line] :
         {std::pair(incidents, "1700000000,2,Some text"),
          {masks, "2003-03-25 00:25:03,1700000300,7,5,0"},
          {sawtooth, "2003-03-25 00:25:03,2003-03-25 00:30:03,35.4092,-1.5,1e-07,5,0"},
          {continuous, "1700000000,1700000300,0.125,1234567,12,2147483647,4294967295"}}) {
      const std::string text = spoilt(line, random);
      ASSERT_EQ(function(text), function("," + text)) << text;
    }
  }
}

}  // namespace
