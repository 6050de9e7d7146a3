#include "commands/csv_output.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "foundation/errors.h"

namespace {

using protocol::DataInterval;

const TimeZone kGreenwich(0);

template <class Record, class Fill>
DataInterval entry(Fill fill) {
  DataInterval interval;
  fill(interval.data.emplace<Record>());
  return interval;
}

std::string csv(const DataInterval& interval) {
  TextOutput output;
  TimeText times("%s", kGreenwich);
  printCsvHeader(output, interval);
  printCsvRow(output, times, interval);
  return output.text();
}

template <class Span>
void fillSpan(Span& span) {
  span.begin = 60;
  span.end = 2147483647;
  span.max = 1234567;
  span.avg = 1.0 / 3;
  span.min = -0.00001;
  span.ngood = 4294967295U;
}

TEST(CsvOutput, EveryKindHasItsColumns) {
  const auto fillIncident = [](auto& incident) {
    incident.time = 1000;
    incident.severity = protocol::Severity{-2};
    incident.text = "a \"b\", c\nd";
  };
  const auto fillEnum = [](auto& span) {
    span.end = 5;
    span.mask = 4294967295U;
    span.ngood = 7;
  };
  const char* span =
      "Begin,End,Min,Avg,Max,ngood,nbad\n60,2147483647,-1e-05,0.333333,1.23457e+06,4294967295,0\n";
  using namespace protocol;
  EXPECT_EQ(csv(entry<DataIntervalIncident>(fillIncident)),
            "Time,Severity,Text\n1000,-2,\"a \"b\", c\nd\"\n");
  EXPECT_EQ(csv(entry<DataIntervalSawtooth>(fillSpan<DataIntervalSawtooth>)), span);
  EXPECT_EQ(csv(entry<DataIntervalContinuous>(fillSpan<DataIntervalContinuous>)), span);
  EXPECT_EQ(csv(entry<DataIntervalEnum>(fillEnum)), "Begin,End,Mask,ngood,nbad\n0,5,4294967295,7,0\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(csv(entry<DataIntervalRawDEPRECATED>([](auto&) {})) + csv(DataInterval{}), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Data of unknown type\nData of unknown type\n");
}

TEST(CsvOutput, AFailedConversionLeavesNoPartialLine) {
  TextOutput output;
  TimeText times("%F", kGreenwich);
  const auto endsTooEarly = entry<protocol::DataIntervalEnum>([](auto& span) { span.end = -1; });
  EXPECT_EQ(textOf<error::ESystemError>([&] { printCsvRow(output, times, endsTooEarly); }),
            "Couldn't get localtime for time 18446744073709551615");
  EXPECT_EQ(output.text(), "");
}

TEST(TimeText, FormatsInItsZone) {
  const auto text = [](const std::string& format, std::int32_t time, std::int32_t offset = 0) {
    return TimeText(format, TimeZone(offset)).of(time);
  };
  EXPECT_EQ(text("%Y-%m-%d %H:%M:%S", 1048551903), "2003-03-25 00:25:03");
  EXPECT_EQ(text("%Y-%m-%d %H:%M:%S", 1048551903, -1800), "2003-03-24 23:55:03");
  EXPECT_EQ(text("%Y-%m-%d %H:%M:%S", 951868799, 1), "2000-03-01 00:00:00");
  EXPECT_EQ(text("%Y-%m-%d %H:%M:%S", 2147483647), "2038-01-19 03:14:07");
  EXPECT_EQ(text("%F %T", 951868799), "2000-02-29 23:59:59");
  EXPECT_EQ(text("%s.", 77), "77.");
  EXPECT_EQ(text("%s", -1), "4294967295");
  EXPECT_EQ(text("", 77), "");
  EXPECT_EQ(text(std::string(255, 'x'), 77), std::string(255, 'x'));
  EXPECT_EQ(text(std::string(256, 'x'), 77), "");
}

TEST(TimeText, AnEarlierTextStaysForOneMoreCall) {
  TimeText times("%s", kGreenwich);
  times.of(0);
  times.of(60);
  const std::string& begin = times.of(60);
  const std::string& end = times.of(120);
  EXPECT_EQ(begin + ' ' + end, "60 120");
}

}  // namespace
