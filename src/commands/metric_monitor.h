#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/output.h"
#include "query/call.h"
#include "query/result.h"
#include "session/request.h"

namespace morvex {

// The server's metrics under watch: each monitor polls one metric again and again, and fills one column with
// what it sees.

// Since 1970-01-01 00:00 GMT.
struct SystemTime {
  std::int64_t seconds = 0;
  std::int32_t microseconds = 0;
};

// Complains on standard error about a clock that cannot be read, and goes on.
SystemTime currentTime();

// A call that notes when its answer came, and shows the texts of a refusal on standard error.
class TimedCall : public tqlquery::Call {
 public:
  TimedCall(std::int32_t method, std::list<protocol::Property> parameters);

  void onSuccess() override { time = currentTime(); }
  void onError(std::uint32_t code, const protocol::ListOfString1024& messages) override;

  SystemTime time;  // of the answer

 protected:
  ~TimedCall() override = default;
};

// What is shown of a timing: the share of the time spent, or mean and deviation, or the number of samples.
enum class TimingDisplay { sum, statistics, count };

// The options in force when a metric is named.
struct MonitorOptions {
  bool differences = true;  // between two polls, as opposed to totals
  TimingDisplay timingDisplay = TimingDisplay::statistics;
};

// Watches one metric. refreshMonitor asks for its values and print waits for them, in turns, so that the
// polls of many monitors can be under way together.
class MetricMonitor {
 public:
  explicit MetricMonitor(std::list<std::string> path) : name(std::move(path)) {}
  virtual ~MetricMonitor() = default;

  // Waits for the poll under way, prints its column and gives the poll up. Ends the run with exit code 1 if
  // the poll was refused or lacks a property. Throws as Connection::await, tql::decode and Output do.
  void print(Output& output);

  // The text for one answered poll, which is also the one that the next is compared with. Ends the run and
  // throws as print does.
  virtual std::string column(const TimedCall& answer) = 0;

  const std::list<std::string> name;        // the components of the metric's path
  comquery::Held<TimedCall> call{nullptr};  // the poll under way
};

// A counter, by its difference to the poll before, modulo 2 to the power 64.
class DiffCounterMonitor final : public MetricMonitor {
 public:
  using MetricMonitor::MetricMonitor;
  std::string column(const TimedCall& answer) override;

 private:
  std::optional<std::uint64_t> previous_;
};

class AbsCounterMonitor final : public MetricMonitor {
 public:
  using MetricMonitor::MetricMonitor;
  std::string column(const TimedCall& answer) override;
};

class GaugeMonitor final : public MetricMonitor {
 public:
  using MetricMonitor::MetricMonitor;
  std::string column(const TimedCall& answer) override;
};

class GaugeDoubleMonitor final : public MetricMonitor {
 public:
  using MetricMonitor::MetricMonitor;
  std::string column(const TimedCall& answer) override;
};

// How often something was timed, and the sums over its samples, in the metric's unit.
struct TimingTotals {
  std::uint64_t n = 0;
  std::uint64_t sum = 0;
  std::uint64_t sumSquares = 0;
};

// A timing, by what has come since the poll before.
class DiffTimingMonitor final : public MetricMonitor {
 public:
  // scale is the length of the metric's unit in seconds.
  DiffTimingMonitor(std::list<std::string> path, TimingDisplay timingDisplay, double scale);
  std::string column(const TimedCall& answer) override;

 private:
  struct Sample {
    SystemTime time;
    TimingTotals totals;
  };

  TimingDisplay timingDisplay_;
  double scale_;
  std::optional<Sample> previous_;
};

// A timing, by all that the server has seen of it.
class AbsTimingMonitor final : public MetricMonitor {
 public:
  AbsTimingMonitor(std::list<std::string> path, TimingDisplay timingDisplay);
  std::string column(const TimedCall& answer) override;

 private:
  TimingDisplay timingDisplay_;
};

// The monitor for a metric by the server's description of it; null for a class that has none. Throws as
// getStringProperty does.
std::unique_ptr<MetricMonitor> makeMonitor(const MonitorOptions& options, std::list<std::string> path,
                                           const tqlquery::Result& description);

// Asks the server for the description first. Ends the run with exit code 1 if it has none. Needs a login.
std::unique_ptr<MetricMonitor> createMonitor(const MonitorOptions& options, const std::string& metricName);

// Posts the next poll, without waiting.
void refreshMonitor(MetricMonitor& monitor);

}  // namespace morvex
