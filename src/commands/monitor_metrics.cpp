#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "commands/commands.h"
#include "commands/metric_monitor.h"
#include "foundation/text.h"
#include "platform/clock.h"

namespace morvex {

namespace {

constexpr std::int64_t kSecondsBetweenCycles = 5;

using Monitors = std::vector<std::unique_ptr<MetricMonitor>>;

// False for a text that is no option, and so the name of a metric.
bool takeOption(MonitorOptions& options, std::string_view argument) {
  if (argument == "-a" || argument == "-d") {
    options.differences = argument == "-d";
  } else if (argument == "-s") {
    options.timingDisplay = TimingDisplay::sum;
  } else if (argument == "-i") {
    options.timingDisplay = TimingDisplay::statistics;
  } else if (argument == "-c") {
    options.timingDisplay = TimingDisplay::count;
  } else {
    return false;
  }
  return true;
}

// Options and names stand mixed; an option is for the names behind it.
Monitors createMonitors(int count, char** vector, int index) {
  Monitors monitors;
  MonitorOptions options;
  for (; index < count; ++index) {
    const std::string argument = vector[index];
    if (takeOption(options, argument)) {
      continue;
    }
    if (auto monitor = createMonitor(options, argument)) {
      monitors.push_back(std::move(monitor));
    } else {
      printError("Could not monitor: " + argument + '\n');
    }
  }
  return monitors;
}

// All polls are out before the first answer is awaited, so that a cycle waits for the network about once.
void printCycle(Output& output, const Monitors& monitors) {
  for (const auto& monitor : monitors) {
    refreshMonitor(*monitor);
  }
  for (const auto& monitor : monitors) {
    if (monitor != monitors.front()) {
      output.write("\t");
    }
    monitor->print(output);
  }
  output.endLine();
  output.flush();
}

}  // namespace

void monitorMetrics(int count, char** vector, int index) {
  login();
  const Monitors monitors = createMonitors(count, vector, index);
  printError("Got " + uint64ToString(monitors.size()) + " metrics\n");
  for (;;) {
    printCycle(standardOutput(), monitors);
    sleepSeconds(kSecondsBetweenCycles);
  }
}

}  // namespace morvex
