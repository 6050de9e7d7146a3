#include "commands/metric_column.h"

#include <gtest/gtest.h>

#include "query/tql/property_codec.h"

using namespace morvex;

namespace {

using Values = std::vector<std::uint64_t>;  // value, or n, min, max, sum, sumSquares

comquery::Held<TimedCall> answerOf(const Values& values, const SystemTime& time = {}) {
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

MetricColumn columnOf(const char* className, const std::string& unit, TimingDisplay display) {
  tqlquery::Result description;
  description.className = className;
  tql::encode(description.properties.emplace_back(), "unit", tql::kString, unit);
  return makeColumn({true, display}, description);
}

TEST(MetricColumn, ComparesEachPollWithTheOneBefore) {
  const MetricColumn counter = columnOf("CounterInt64", "", TimingDisplay::count);
  const MetricColumn timing = columnOf("Timing", "s", TimingDisplay::count);
  for (const auto& [value, text] : {std::pair{7U, "-"}, {9U, "2"}, {12U, "3"}}) {
    EXPECT_EQ(counter(*answerOf({value})), text);
    EXPECT_EQ(timing(*answerOf({value, 0, 0, 0, 0})), text);
  }
}

// The end-to-end tests do not know how long a cycle takes.
TEST(MetricColumn, ShowsTimingsSinceThePollBefore) {
  using enum TimingDisplay;
  const struct {
    TimingDisplay display;
    Values first, second;
    std::string columns, unit = "s";
  } rows[] = {
      {statistics, {3, 2, 6, 12, 56}, {3, 6, 6, 12, 56}, "- 0: nan +/- nan [6;6]"},
      {statistics, {0, 3, 3, 0, 0}, {1, 3, 3, 3, 10}, "- 1: 3.0 +/- inf [3;3]"},
      {sum, {0, 0, 0, 100, 0}, {0, 0, 0, 575, 0}, "- 10.0%", "ms"},
      {sum, {0, 0, 0, 0, 0}, {0, 0, 0, 475000, 0}, "- 10.0%", "us"},
      {sum, {0, 0, 0, 0, 0}, {0, 0, 0, 19, 0}, "- 400.0%", "MS"},
  };
  for (const auto& row : rows) {
    const MetricColumn column = columnOf("Timing", row.unit, row.display);
    std::string columns = column(*answerOf(row.first, {0x7FFFFFFF, 900000}));
    columns += ' ' + column(*answerOf(row.second, {0x80000004, 650000}));  // 4.75 seconds later
    for (std::size_t sign; (sign = columns.find("-nan")) != std::string::npos;) {
      columns.erase(sign, 1);  // the processor's choice
    }
    EXPECT_EQ(columns, row.columns);
  }
}

}  // namespace
