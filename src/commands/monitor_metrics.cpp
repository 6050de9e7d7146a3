#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "commands/commands.h"
#include "commands/metric_column.h"
#include "foundation/text.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "protocol/facts.h"
#include "query/tql/property_codec.h"

namespace morvex {

namespace {

constexpr std::int64_t kSecondsBetweenCycles = 5;

struct Monitor {
  std::list<std::string> path;
  MetricColumn column;
  comquery::Held<TimedCall> poll{nullptr};  // under way
};

// False for any other text: the name of a metric.
bool takeOption(MetricOptions& options, std::string_view argument) {
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

protocol::ListOfProperty nameParameter(const std::list<std::string>& path) {
  protocol::ListOfProperty parameters;
  tql::encode(parameters.emplace_back(), "name", tql::kStringList, path);
  return parameters;
}

MetricColumn findColumn(const MetricOptions& options, const std::string& name,
                        const std::list<std::string>& path) {
  const auto call = ask<tqlquery::Call>(protocol::method::kMetricDescription, nameParameter(path));
  if (call->resultObjects.size() != 1) {  // none after a refusal
    endRun("Could not monitor: " + name);
  }
  return makeColumn(options, *call->resultObjects.front());
}

// Options and names stand mixed. An option applies to the names behind it.
std::vector<Monitor> takeMonitors(Arguments& arguments) {
  std::vector<Monitor> monitors;
  MetricOptions options;
  while (!arguments.atEnd()) {
    const std::string argument = arguments.take();
    if (takeOption(options, argument)) {
      continue;
    }
    std::list<std::string> path = splitToList(argument, '.', false);
    if (MetricColumn column = findColumn(options, argument, path)) {
      monitors.push_back({std::move(path), std::move(column)});
    } else {
      printError("Could not monitor: " + argument + '\n');
    }
  }
  return monitors;
}

// All polls are out before the first answer is awaited, so a cycle waits about once for the network.
void printCycle(Output& output, std::vector<Monitor>& monitors) {
  for (Monitor& monitor : monitors) {
    monitor.poll = comquery::make<TimedCall>(protocol::method::kMetricValue, nameParameter(monitor.path));
    g_connection->post(*monitor.poll);
  }
  for (Monitor& monitor : monitors) {
    if (&monitor != &monitors.front()) {
      output.write("\t");
    }
    g_connection->await(*monitor.poll);  // a refusal leaves no properties
    output.write(monitor.column(*monitor.poll));
    monitor.poll = comquery::Held<TimedCall>(nullptr);
  }
  output.endLine();
  output.flush();
}

}  // namespace

void monitorMetrics(Arguments& arguments) {
  login();
  std::vector<Monitor> monitors = takeMonitors(arguments);
  printError("Got " + uint64ToString(monitors.size()) + " metrics\n");
  for (;;) {
    printCycle(standardOutput(), monitors);
    sleepSeconds(kSecondsBetweenCycles);
  }
}

}  // namespace morvex
