#include "commands/metric_monitor.h"

#include <gtest/gtest.h>

#include "query/tql/property_codec.h"

using namespace morvex;

namespace {

using Values = std::vector<std::uint64_t>;  // value, or n, min, max, sum, sumSquares
constexpr std::uint64_t kMax = 18446744073709551615U;

comquery::Held<TimedCall> answerOf(const Values& values, const SystemTime& time = {}) {
  static const std::vector<std::string> kTiming{"n", "min", "max", "sum", "sumSquares"};
  auto answer = comquery::make<TimedCall>(2, std::list<protocol::Property>());
  for (std::size_t i = 0; i < values.size(); ++i) {
    protocol::Property& property = answer->resultProperties.emplace_back();
    property.name = values.size() == 1 ? "value" : kTiming[i];
    property.typeWord = tql::kUnsigned64;
    property.data.emplace<protocol::UnsignedInt64Prop>().value = values[i];
  }
  answer->time = time;
  return answer;
}

// Options are written as on the command line.
std::unique_ptr<MetricMonitor> monitorFor(const char* className, const std::string& options = "",
                                          const std::string& unit = "s") {
  tqlquery::Result description;
  description.className = className;
  tql::encode(description.properties.emplace_back(), "unit", tql::kString, unit);
  const auto display = options.ends_with("c")   ? TimingDisplay::count
                       : options.ends_with("s") ? TimingDisplay::sum
                                                : TimingDisplay::statistics;
  return makeMonitor({!options.starts_with("-a"), display}, {"a", "b"}, description);
}

TEST(MetricMonitor, ShowsWhatItsClassAndOptionsSay) {
  const struct {
    const char *className, *options;
    Values first, second;
    std::string columns, unit = "s";
  } rows[] = {
      {"CounterInt64", "-d", {7}, {kMax}, "- 18446744073709551608"},
      {"CounterInt64", "-d", {7}, {6}, "- 18446744073709551615"},
      {"CounterInt64", "-a", {7}, {kMax}, "7 18446744073709551615"},
      {"GaugeInt64", "-d", {7}, {5}, "7 5"},
      {"Timing", "-d -c", {3, 0, 0, 0, 0}, {5, 0, 0, 0, 0}, "- 2"},
      {"Timing", "-d -i", {3, 2, 6, 12, 56}, {5, 1, 9, 22, 138}, "- 2: 5.0 +/- 5.7 [1;9]"},
      {"Timing", "-d -i", {0, 5, 4, 0, 0}, {2, 5, 4, 10, 82}, "- 2: 5.0 +/- 5.7"},
      {"Timing", "-d -i", {3, 2, 6, 12, 56}, {3, 6, 6, 12, 56}, "- 0: nan +/- nan [6;6]"},
      {"Timing", "-d -i", {0, 3, 3, 0, 0}, {1, 3, 3, 3, 9}, "- 1: 3.0 +/- nan [3;3]"},
      {"Timing", "-d -i", {0, 3, 3, 0, 0}, {1, 3, 3, 3, 10}, "- 1: 3.0 +/- inf [3;3]"},
      {"Timing", "-d -s", {0, 0, 0, 100, 0}, {0, 0, 0, 575, 0}, "- 10.0%", "ms"},
      {"Timing", "-d -s", {0, 0, 0, 0, 0}, {0, 0, 0, 475000, 0}, "- 10.0%", "us"},
      {"Timing", "-d -s", {0, 0, 0, 0, 0}, {0, 0, 0, 19, 0}, "- 400.0%", "MS"},
      {"Timing", "-a -s", {3, 2, 6, 12, 56}, {5, 1, 9, 22, 138}, "3: 12 5: 22"},
      {"Timing", "-a -i", {3, 2, 6, 12, 56}, {5, 1, 9, 22, 138}, "3: 4.0 +/- 2.0 [2;6] 5: 4.4 +/- 3.2 [1;9]"},
      {"Timing", "-a -i", {0, 1, 0, 0, 0}, {0, 1, 0, 5, 0}, "0: nan +/- nan 0: inf +/- nan"},
      {"Timing", "-a -c", {3, 2, 6, 12, 56}, {5, 1, 9, 22, 138}, "3 5"},
  };
  for (const auto& row : rows) {
    const auto monitor = monitorFor(row.className, row.options, row.unit);
    std::string columns = monitor->column(*answerOf(row.first, {0x7FFFFFFF, 900000}));
    columns += ' ' + monitor->column(*answerOf(row.second, {0x80000004, 650000}));  // 4.75 seconds later
    for (std::size_t sign; (sign = columns.find("-nan")) != std::string::npos;) {
      columns.erase(sign, 1);  // the processor's choice
    }
    EXPECT_EQ(columns, row.columns) << row.className << ' ' << row.options;
  }
}

TEST(MetricMonitor, ComparesEachPollWithTheOneBefore) {
  const auto counter = monitorFor("CounterInt64"), timing = monitorFor("Timing", "-d -c");
  for (const auto& [value, column] : {std::pair{7U, "-"}, {9U, "2"}, {12U, "3"}}) {
    EXPECT_EQ(counter->column(*answerOf({value})), column);
    EXPECT_EQ(timing->column(*answerOf({value, 0, 0, 0, 0})), column);
  }
}

}  // namespace
