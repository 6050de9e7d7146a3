#include "commands/metric_column.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <utility>

#include "foundation/text.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "protocol/facts.h"
#include "query/tql/property_codec.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

// A division by 0 is shown as it comes out.
static_assert(std::numeric_limits<double>::is_iec559);

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

// How often something was timed, and the sums over its samples, in the metric's unit.
struct TimingTotals {
  std::uint64_t n, sum, sumSquares;
};

struct Timing {
  TimingTotals totals;
  std::uint64_t min, max;
};

Timing takeTiming(const TimedCall& answer) {
  const auto [n, min, max, sum, sumSquares] =
      takeValues<std::uint64_t>(answer, tql::kUnsigned64, {"n", "min", "max", "sum", "sumSquares"});
  return {{n, sum, sumSquares}, min, max};
}

// As printf gives for %.1f.
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

// Only the low 32 bits of the seconds count.
double secondsBetween(const SystemTime& from, const SystemTime& to) {
  const std::int32_t microseconds = to.microseconds - from.microseconds;
  const auto seconds = static_cast<std::int32_t>(to.seconds - from.seconds);
  return microseconds / 1e6 + seconds;
}

// The length of a unit in seconds.
double scaleOf(std::string_view unit) {
  if (unit == "us") {
    return 0.000001;
  }
  return unit == "ms" ? 0.001 : 1.0;
}

std::string counterText(const TimedCall& answer) {
  return uint64ToString(takeValue<std::uint64_t>(answer, tql::kUnsigned64));
}

std::string realText(const TimedCall& answer) {
  std::string text;
  appendReal(text, takeValue<double>(answer, tql::kReal));
  return text;
}

// A counter, by its difference to the poll before, modulo 2 to the power 64.
class CounterDifference {
 public:
  std::string operator()(const TimedCall& answer) {
    const auto value = takeValue<std::uint64_t>(answer, tql::kUnsigned64);
    const auto before = std::exchange(previous_, value);
    return before ? uint64ToString(value - *before) : "-";
  }

 private:
  std::optional<std::uint64_t> previous_;
};

// A timing, by what the server has timed since its start.
class TimingTotal {
 public:
  explicit TimingTotal(TimingDisplay display) : display_(display) {}

  std::string operator()(const TimedCall& answer) const {
    const Timing current = takeTiming(answer);
    const std::string count = uint64ToString(current.totals.n);
    switch (display_) {
      case TimingDisplay::sum:
        return count + ": " + uint64ToString(current.totals.sum);
      case TimingDisplay::statistics:
        return statisticsText(current.totals, current);
      case TimingDisplay::count:
        break;
    }
    return count;
  }

 private:
  TimingDisplay display_;
};

// A timing, by what the server has timed since the poll before.
class TimingDifference {
 public:
  // unit is that of the metric.
  TimingDifference(TimingDisplay display, std::string_view unit) : display_(display), scale_(scaleOf(unit)) {}

  std::string operator()(const TimedCall& answer) {
    const Timing current = takeTiming(answer);
    const auto before = std::exchange(previous_, Sample{answer.time, current.totals});
    if (!before) {
      return "-";
    }
    const TimingTotals& now = current.totals;
    const TimingTotals& then = before->totals;
    const TimingTotals since{now.n - then.n, now.sum - then.sum, now.sumSquares - then.sumSquares};
    switch (display_) {
      case TimingDisplay::sum:
        return fixedText(static_cast<double>(since.sum) * scale_ / secondsBetween(before->time, answer.time) *
                         100) +
               '%';
      case TimingDisplay::statistics:
        return statisticsText(since, current);
      case TimingDisplay::count:
        break;
    }
    return uint64ToString(since.n);
  }

 private:
  struct Sample {
    SystemTime time;
    TimingTotals totals;
  };

  TimingDisplay display_;
  double scale_;
  std::optional<Sample> previous_;
};

}  // namespace

void printNotice(std::string_view text) {
  standardOutput().flush();
  printError(std::string(text) + '\n');
}

void endRun(std::string_view text) {
  printNotice(text);
  std::exit(EXIT_FAILURE);
}

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

void TimedCall::onError(std::uint32_t, const protocol::ListOfString1024& messages) {
  for (const std::string& message : messages) {
    printNotice(message);
  }
}

MetricColumn makeColumn(const MetricOptions& options, const tqlquery::Result& description) {
  const std::string_view unit = tqlquery::getStringProperty(description, "unit");  // wanted of every class
  const std::string& className = description.className;
  if (className == object_class::kCounterInt64 && options.differences) {
    return CounterDifference();
  }
  if (className == object_class::kCounterInt64 || className == object_class::kGaugeInt64) {
    return counterText;
  }
  if (className == object_class::kGaugeDouble) {
    return realText;
  }
  if (className != object_class::kTiming) {
    return nullptr;
  }
  if (options.differences) {
    return TimingDifference(options.timingDisplay, unit);
  }
  return TimingTotal(options.timingDisplay);
}

}  // namespace morvex
