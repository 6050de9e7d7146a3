#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "query/call.h"
#include "query/result.h"

namespace morvex {

// The columns of monitormetrics: each polls one of the server's metrics again and again.

// Prints a line on standard error, behind all of standard output. Throws as Output does.
void printNotice(std::string_view text);
// The same, and ends the run with exit code 1.
[[noreturn]] void endRun(std::string_view text);

// Since 1970-01-01 00:00 GMT.
struct SystemTime {
  std::int64_t seconds = 0;
  std::int32_t microseconds = 0;
};

// Complains on standard error about a clock that cannot be read, and goes on.
SystemTime currentTime();

// A poll. It notes when its answer came, and shows the texts of a refusal on standard error.
class TimedCall : public tqlquery::Call {
 public:
  using Call::Call;

  void onSuccess() override { time = currentTime(); }
  void onError(std::uint32_t code, const protocol::ListOfString1024& messages) override;

  SystemTime time;  // of the answer

 protected:
  ~TimedCall() override = default;
};

// How a timing is shown: the share of the time spent, or mean and deviation, or the number of samples.
enum class TimingDisplay { sum, statistics, count };

// The options in force when a metric is named.
struct MetricOptions {
  bool differences = true;  // between two polls, as opposed to totals
  TimingDisplay timingDisplay = TimingDisplay::statistics;
};

// The text for one answered poll. Remembers the poll to compare the next one with. Ends the run if the answer
// lacks a property, as a refused one does. Throws as tql::decode and Output do.
using MetricColumn = std::function<std::string(const TimedCall& answer)>;

// The column for a metric by the server's description of it; empty for a class that has none. Throws as
// getStringProperty does.
MetricColumn makeColumn(const MetricOptions& options, const tqlquery::Result& description);

}  // namespace morvex
