#include "commands/csv_input.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <stdexcept>
#include <tuple>

#include "commands/csv_output.h"
#include "commands/support.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "support/text_input.h"

namespace {

using protocol::DataInterval;

const TimeZone kGreenwich(0);

template <class Record>
DataInterval pattern() {
  DataInterval interval;
  interval.data.emplace<Record>();
  return interval;
}
const DataInterval kIncidents = pattern<protocol::DataIntervalIncident>();
const DataInterval kSawtooth = pattern<protocol::DataIntervalSawtooth>();
const DataInterval kEnum = pattern<protocol::DataIntervalEnum>();
const DataInterval kContinuous = pattern<protocol::DataIntervalContinuous>();

std::string print(const dataquery::Intervals& rows) {
  TextOutput output;
  TimeText times("%s", kGreenwich);
  for (const auto& row : rows) {
    printCsvRow(output, times, *row);
  }
  return output.text();
}

std::string readAndPrint(const DataInterval& kind, const std::string& lines) {
  TextInput input(lines);
  return print(readCsvLines(input, kind, kGreenwich));
}

struct ReadRow {
  const DataInterval& kind;
  std::string lines, printed;
};
const ReadRow kRead[] = {
    {kIncidents, "", ""},
    {kIncidents, "1000,2,\"down\"\r\n4294967295,-3,x", "1000,2,\"\"down\"\"\n4294967295,-3,\"x\"\n"},
    {kIncidents, ",,1970-01-01 00:00:10,,99999999999, up ,\n", "10,2147483647,\" up \"\n"},
    {kEnum, "1,2,4294967295,4294967294,-1\n", "1,2,4294967295,4294967294,4294967295\n"},
    {kEnum, "20,10,1,2,3\n10,20,1,2,3\n20,30,1,2,3\n", "20,20,1,2,3\n10,20,1,2,3\n20,30,1,2,3\n"},
    {kEnum, "4294967290,4294967295,0,0,0\n2147483647,2147483648,0,0,0\n",  // the latter is one of 1901
     "4294967290,4294967295,0,0,0\n2147483647,2147483647,0,0,0\n"},
    {kEnum, "1,2,3,4,5\n" + std::string(1015, '0') + "1,2,3,4,5\n", "1,2,3,4,5\n"},        // 1024 characters
    {kEnum, std::string(1014, '0') + "1,2,3,4,5\r\n1,2,3,4,5", "1,2,3,4,5\n1,2,3,4,5\n"},  // 1023
    {kSawtooth, "1,2,-.5,nan, 0x1p-2,5,-1\n", "1,2,-0.5,nan,0.25,5,4294967295\n"},
    {kContinuous, "1,2,-inf,1e999,1e-7,4294967295,6\n", "1,2,-inf,inf,1e-07,2147483647,6\n"},
    {pattern<protocol::DataIntervalRawDEPRECATED>(), "1,2,3\n", ""},
};

TEST(CsvInput, EveryKindReadsItsColumns) {
  for (const auto& [kind, lines, printed] : kRead) {
    EXPECT_EQ(readAndPrint(kind, lines), printed) << lines;
  }
}

TEST(CsvInput, EachColumnGoesToItsOwnField) {
  TextInput input("1,2,3,4,5,6,7\n");
  const auto rows = readCsvLines(input, kSawtooth, kGreenwich);
  const auto& row = *rows.at(0)->data.as<protocol::DataIntervalSawtooth>();
  EXPECT_EQ(std::tie(row.begin, row.end, row.min, row.avg, row.max, row.ngood, row.nbad),
            std::tuple(1, 2, 3.0, 4.0, 5.0, 6u, 7u));
}

struct FaultRow {
  const DataInterval& kind;
  std::string lines, message;
};
const FaultRow kFaults[] = {
    {kIncidents, "1,2,a\n1,2,a,b", "In line 3: number of fields not 3 as it should be for incidents"},
    {kSawtooth, "\n", "In line 2: number of fields not 7 as it should be for sawtooth"},
    {kEnum, "1,2,3,,5\n", "In line 2: number of fields not 5 as it should be for enum"},
    {kContinuous, "1,2,3,4,5,6,7\r\n\r\n",
     "In line 3: number of fields not 7 as it should be for continuous"},
    {kContinuous, "1,2,3,4,5,6,7,8,9", "In line 2: number of fields not 7 as it should be for continuous"},
    {kIncidents, "1,2x,a", R"(Error parsing: "2x")"},
    {kEnum, "1,2,1.5,0,0", R"(Error parsing: "1.5")"},
    {kSawtooth, "1,2,3,4,1e,6,7", R"(Error parsing: "1e")"},
    {kContinuous, "1,2,3,4,5,6,'", R"(Error parsing: "\'")"},
};

TEST(CsvInput, AFaultInAnyLineEndsTheReading) {
  for (const auto& [kind, lines, message] : kFaults) {
    EXPECT_EQ(textOf<error::Exception>([&, &k = kind, &l = lines] { readAndPrint(k, l); }), message);
  }
}

TEST(CsvInput, TimesAreSecondsOrFixedPositions) {
  const std::pair<const char*, std::int64_t> rows[] = {
      {"0012", 12},
      {"4294967295", -1},
      {"2003-03-25 00:25:03", 1048551903},
      {"2003x03/25T00.25 03 and more", 1048551903},
      {"2003-03-25 00:25:", 1048551900},  // 17 characters, and no second
      {"2003-02-31 00:25:61", 1046651161},
      {"1969-12-31 23:59:58", -2},
      {"2038-01-19 03:14:07", 2147483647},
      {"2003-13-25 00:25:03", 0},
      {"2003-00-25 00:25:03", 0},
      {"2003-03-00 00:25:03", 0},
      {"2003-03-25 24:25:03", 0},
      {"2003-03-25 00:60:03", 0},
      {"2003-03-25 00:25:62", 0},
      {"1899-03-25 00:25:03", 0}};
  for (const auto& [text, time] : rows) {
    EXPECT_EQ(parseCsvTime(text, kGreenwich), time) << text;
  }
  EXPECT_EQ(parseCsvTime("2003-03-25 00:25:03", TimeZone(-3600)), 1048555503);
  for (const char* text : {"2038-01-19 03:14:08", "1901-12-13 20:45:51"}) {
    EXPECT_EQ(textOf<error::EParseError>([&] { parseCsvTime(text, kGreenwich); }),
              "Error parsing: " + quotedString(text));
  }
  EXPECT_EQ(textOf<error::EParseError>([] { parseCsvTime("2003-03-25 0x:25:03", kGreenwich); }),
            R"(Error parsing: "0x")");
  EXPECT_THROW(parseCsvTime("2003-03-25 00:25", kGreenwich), std::out_of_range);
}

// 10,000 rows as select -u writes them.
template <class Record, class Fill>
std::string randomRows(Fill fill) {
  std::mt19937_64 random(1);
  dataquery::Intervals rows;
  for (int i = 0; i < 10000; ++i) {
    auto& row = rows.emplace_back().emplace().data.template emplace<Record>();
    row.begin = static_cast<std::int32_t>(random());
    row.end = std::max(row.begin, static_cast<std::int32_t>(random()));
    row.ngood = static_cast<std::uint32_t>(random()) >> 1;
    row.nbad = static_cast<std::uint32_t>(random()) >> random() % 31 >> 1;
    fill(row, random);
  }
  return print(rows);
}

TEST(CsvInput, WhatWasPrintedReadsBackAsTheSameText) {
  const auto fillReals = [](auto& row, std::mt19937_64& random) {
    for (double* value : {&row.min, &row.avg, &row.max}) {
      const std::string digits = std::to_string(static_cast<std::int32_t>(random()) % 1000000);
      *value = std::strtod((digits + "e" + std::to_string(static_cast<int>(random() % 600) - 300)).c_str(),
                           nullptr);
    }
  };
  const auto fillMask = [](auto& row, std::mt19937_64& random) {
    row.mask = static_cast<std::uint32_t>(random());
  };
  const auto sawtooth = randomRows<protocol::DataIntervalSawtooth>(fillReals);
  EXPECT_TRUE(readAndPrint(kSawtooth, sawtooth) == sawtooth);
  const auto continuous = randomRows<protocol::DataIntervalContinuous>(fillReals);
  EXPECT_TRUE(readAndPrint(kContinuous, continuous) == continuous);
  const auto masks = randomRows<protocol::DataIntervalEnum>(fillMask);
  EXPECT_TRUE(readAndPrint(kEnum, masks) == masks);
}

}  // namespace
