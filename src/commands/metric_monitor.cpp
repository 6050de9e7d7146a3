#include "commands/metric_monitor.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "foundation/assertion.h"
#include "foundation/text.h"
#include "platform/clock.h"
#include "protocol/facts.h"
#include "query/tql/property_codec.h"
#include "session/connection.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

// Nothing here guards a divisor against 0: what comes of that is shown as it is.
static_assert(std::numeric_limits<double>::is_iec559);

// What is printed already comes first, and a failure to write it is heard of.
void printNotice(std::string_view text) {
  standardOutput().flush();
  printError(std::string(text) + '\n');
}

[[noreturn]] void endRun(std::string_view text) {
  printNotice(text);
  std::exit(EXIT_FAILURE);
}

template <class Value>
const Value& valueOf(const std::optional<Value>& optional) {
  assertThat(optional.has_value(), "Value of None taken");
  return *optional;
}

// The one parameter of both methods.
std::list<protocol::Property> nameParameter(const std::list<std::string>& path) {
  std::list<protocol::Property> parameters(1);
  tql::encode(parameters.front(), "name", tql::kStringList, path);
  return parameters;
}

// The values of properties, in the order of their names. All of them must be there before one is decoded.
template <class Value, std::size_t kCount>
std::array<Value, kCount> takeValues(const TimedCall& answer, std::uint32_t type,
                                     const char* const (&names)[kCount]) {
  std::array<const protocol::Property*, kCount> properties;
  for (std::size_t i = 0; i < kCount; ++i) {
    properties[i] = tqlquery::findProperty(answer.resultProperties, names[i]);
    if (properties[i] == nullptr) {
      endRun("Error getting Morvex server metrics");
    }
  }
  std::array<Value, kCount> values;
  for (std::size_t i = 0; i < kCount; ++i) {
    tql::decode(*properties[i], type, values[i]);
  }
  return values;
}

template <class Value>
Value takeValue(const TimedCall& answer, std::uint32_t type) {
  return takeValues<Value>(answer, type, {"value"})[0];
}

struct Timing {
  TimingTotals totals;
  std::uint64_t min;
  std::uint64_t max;
};

Timing takeTiming(const TimedCall& answer) {
  const auto [n, min, max, sum, sumSquares] =
      takeValues<std::uint64_t>(answer, tql::kUnsigned64, {"n", "min", "max", "sum", "sumSquares"});
  return {{n, sum, sumSquares}, min, max};
}

TimingTotals difference(const TimingTotals& now, const TimingTotals& before) {
  return {now.n - before.n, now.sum - before.sum, now.sumSquares - before.sumSquares};
}

// As a stream prints it in fixed notation with one decimal, or printf's %.1f.
std::string fixedText(double value) {
  std::array<char, std::numeric_limits<double>::max_exponent10 + 8> digits;
  return {digits.data(), std::to_chars(digits.begin(), digits.end(), value, std::chars_format::fixed, 1).ptr};
}

// The number of samples, their mean and standard deviation, and the range if there is one.
std::string statisticsText(const TimingTotals& totals, const Timing& current) {
  const auto n = static_cast<double>(totals.n);
  const auto sum = static_cast<double>(totals.sum);
  const auto sumSquares = static_cast<double>(totals.sumSquares);
  const double variance = (sumSquares - sum * sum / n) / static_cast<double>(totals.n - 1);
  std::string text =
      uint64ToString(totals.n) + ": " + fixedText(sum / n) + " +/- " + fixedText(std::sqrt(variance));
  if (current.min <= current.max) {
    text += " [" + uint64ToString(current.min) + ';' + uint64ToString(current.max) + ']';
  }
  return text;
}

// Of the seconds the low 32 bits count.
double secondsBetween(const SystemTime& from, const SystemTime& to) {
  const std::int32_t microseconds = to.microseconds - from.microseconds;
  const auto seconds = static_cast<std::int32_t>(to.seconds - from.seconds);
  return microseconds / 1e6 + seconds;
}

std::string shareText(const TimingTotals& totals, double scale, double elapsed) {
  return fixedText(static_cast<double>(totals.sum) * scale / elapsed * 100) + '%';
}

double scaleOf(const std::string& unit) {
  if (unit == "us") {
    return 0.000001;
  }
  return unit == "ms" ? 0.001 : 1.0;
}

}  // namespace

SystemTime currentTime() {
  constexpr std::int64_t k1970 = 116444736000000000;  // in units of 100 nanoseconds since 1601
  constexpr std::int64_t kUnitsPerSecond = 10000000;
  std::uint64_t time = 0;
  if (!platform_system_time(time)) {
    printNotice(
        "(TIME) Error getting system time \n"
        "(TIME) This may cause inaccurate measurements ");
  }
  const std::int64_t since1970 = static_cast<std::int64_t>(time) - k1970;
  return {since1970 / kUnitsPerSecond, static_cast<std::int32_t>(since1970 % kUnitsPerSecond / 10)};
}

TimedCall::TimedCall(std::int32_t method, std::list<protocol::Property> parameters)
    : Call(method, std::move(parameters), {}) {}

void TimedCall::onError(std::uint32_t, const protocol::ListOfString1024& messages) {
  for (const std::string& message : messages) {
    printNotice(message);
  }
}

void MetricMonitor::print(Output& output) {
  g_connection->await(*call);
  output.write(column(*call));
  call = comquery::Held<TimedCall>(nullptr);
}

std::string DiffCounterMonitor::column(const TimedCall& answer) {
  const auto value = takeValue<std::uint64_t>(answer, tql::kUnsigned64);
  std::string text = previous_ ? uint64ToString(value - valueOf(previous_)) : "-";
  previous_ = value;
  return text;
}

std::string AbsCounterMonitor::column(const TimedCall& answer) {
  return uint64ToString(takeValue<std::uint64_t>(answer, tql::kUnsigned64));
}

std::string GaugeMonitor::column(const TimedCall& answer) {
  return uint64ToString(takeValue<std::uint64_t>(answer, tql::kUnsigned64));
}

std::string GaugeDoubleMonitor::column(const TimedCall& answer) {
  std::string text;
  appendReal(text, takeValue<double>(answer, tql::kReal));
  return text;
}

DiffTimingMonitor::DiffTimingMonitor(std::list<std::string> path, TimingDisplay timingDisplay, double scale)
    : MetricMonitor(std::move(path)), timingDisplay_(timingDisplay), scale_(scale) {}

std::string DiffTimingMonitor::column(const TimedCall& answer) {
  const Timing current = takeTiming(answer);
  const auto before = std::exchange(previous_, Sample{answer.time, current.totals});
  if (!before) {
    return "-";
  }
  const Sample& sample = valueOf(before);
  const TimingTotals since = difference(current.totals, sample.totals);
  switch (timingDisplay_) {
    case TimingDisplay::sum:
      return shareText(since, scale_, secondsBetween(sample.time, answer.time));
    case TimingDisplay::statistics:
      return statisticsText(since, current);
    case TimingDisplay::count:
      break;
  }
  return uint64ToString(since.n);
}

AbsTimingMonitor::AbsTimingMonitor(std::list<std::string> path, TimingDisplay timingDisplay)
    : MetricMonitor(std::move(path)), timingDisplay_(timingDisplay) {}

std::string AbsTimingMonitor::column(const TimedCall& answer) {
  const Timing current = takeTiming(answer);
  switch (timingDisplay_) {
    case TimingDisplay::sum:
      return uint64ToString(current.totals.n) + ": " + uint64ToString(current.totals.sum);
    case TimingDisplay::statistics:
      return statisticsText(current.totals, current);
    case TimingDisplay::count:
      break;
  }
  return uint64ToString(current.totals.n);
}

std::unique_ptr<MetricMonitor> makeMonitor(const MonitorOptions& options, std::list<std::string> path,
                                           const tqlquery::Result& description) {
  const std::string unit(tqlquery::getStringProperty(description, "unit"));  // wanted of every class
  const std::string& className = description.className;
  if (className == object_class::kCounterInt64) {
    if (options.differences) {
      return std::make_unique<DiffCounterMonitor>(std::move(path));
    }
    return std::make_unique<AbsCounterMonitor>(std::move(path));
  }
  if (className == object_class::kGaugeInt64) {
    return std::make_unique<GaugeMonitor>(std::move(path));
  }
  if (className == object_class::kGaugeDouble) {
    return std::make_unique<GaugeDoubleMonitor>(std::move(path));
  }
  if (className == object_class::kTiming) {
    if (options.differences) {
      return std::make_unique<DiffTimingMonitor>(std::move(path), options.timingDisplay, scaleOf(unit));
    }
    return std::make_unique<AbsTimingMonitor>(std::move(path), options.timingDisplay);
  }
  return nullptr;
}

std::unique_ptr<MetricMonitor> createMonitor(const MonitorOptions& options, const std::string& metricName) {
  std::list<std::string> path = splitToList(metricName, '.', false);
  const auto call = comquery::make<tqlquery::Call>(protocol::method::kMetricDescription, nameParameter(path),
                                                   std::vector<const tqlquery::Result*>());
  g_connection->post(*call);
  g_connection->await(*call);  // a refusal leaves no objects
  if (call->resultObjects.size() != 1) {
    endRun("Could not monitor: " + metricName);
  }
  return makeMonitor(options, std::move(path), *call->resultObjects.front());
}

void refreshMonitor(MetricMonitor& monitor) {
  monitor.call = comquery::make<TimedCall>(protocol::method::kMetricValue, nameParameter(monitor.name));
  g_connection->post(*monitor.call);
}

}  // namespace morvex
