#include "commands/metric_column.h"

#include <gtest/gtest.h>

#include "query/tql/property_codec.h"

using namespace morvex;

namespace {

using Values = std::vector<std::uint64_t>;  // value, or n, min, max, sum, sumSquares

comquery::Held<TimedCall> answerOf(const Values& values, const SystemTime& time) {
  static const std::vector<std::string> kTiming{"n", "min", "max", "sum", "sumSquares"};
  auto answer = comquery::make<TimedCall>(2);
  for (std::size_t i = 0; i < values.size(); ++i) {
    protocol::Property& property = answer->resultProperties.emplace_back();
    property.name = values.size() == 1 ? "value" : kTiming[i];
    property.typeWord = tql::kUnsigned64;
    property.data.emplace<protocol::UnsignedInt64Prop>().value = values[i];
  }
  answer->time = time;
  return answer;
}

// The end-to-end tests see two polls, and do not know the time between them.
TEST(MetricColumn, ShowsTheDifferenceToThePollBefore) {
  using enum TimingDisplay;
  const struct {
    const char* className;
    TimingDisplay display;
    std::string unit;
    std::vector<Values> polls;
    std::string columns;
  } rows[] = {
      {"CounterInt64", count, "", {{7}, {9}, {12}}, "- 2 3 "},
      {"Timing", count, "s", {{7, 0, 0, 0, 0}, {9, 0, 0, 0, 0}, {12, 0, 0, 0, 0}}, "- 2 3 "},
      {"Timing", statistics, "s", {{0, 3, 3, 0, 0}, {1, 3, 3, 3, 10}}, "- 1: 3.0 +/- inf [3;3] "},
      {"Timing", sum, "ms", {{0, 0, 0, 100, 0}, {0, 0, 0, 575, 0}}, "- 10.0% "},
      {"Timing", sum, "us", {{0, 0, 0, 0, 0}, {0, 0, 0, 475000, 0}}, "- 10.0% "},
      {"Timing", sum, "MS", {{0, 0, 0, 0, 0}, {0, 0, 0, 19, 0}}, "- 400.0% "},
  };
  for (const auto& row : rows) {
    tqlquery::Result description;
    description.className = row.className;
    tql::encode(description.properties.emplace_back(), "unit", tql::kString, row.unit);
    const MetricColumn column = makeColumn({true, row.display}, description);
    std::string columns;
    SystemTime time{0x7FFFFFFF, 900000};
    for (const Values& values : row.polls) {
      columns += column(*answerOf(values, time)) + ' ';
      time = {0x80000004, 650000};  // 4.75 seconds later
    }
    EXPECT_EQ(columns, row.columns);
  }
}

}  // namespace
