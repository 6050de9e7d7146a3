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

// A metric as it was named, with the options in force there.
struct NamedMetric {
  std::string name;
  MetricOptions options;
  std::list<std::string> path;
  comquery::Held<tqlquery::Call> description;  // under way
};

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

// Options and names stand mixed. An option applies to the names behind it.
std::vector<NamedMetric> askForDescriptions(Arguments& arguments) {
  std::vector<NamedMetric> metrics;
  MetricOptions options;
  g_connection->gather(true);
  while (!arguments.atEnd()) {
    std::string argument = arguments.take();
    if (takeOption(options, argument)) {
      continue;
    }
    std::list<std::string> path = splitToList(argument, '.', false);
    auto description = post<tqlquery::Call>(protocol::method::kMetricDescription, nameParameter(path));
    metrics.push_back({std::move(argument), options, std::move(path), std::move(description)});
  }
  g_connection->gather(false);
  return metrics;
}

// The column of a metric by its description, for which it waits. Ends the run if there is none.
MetricColumn awaitColumn(const NamedMetric& metric) {
  g_connection->await(*metric.description);
  const protocol::ListOfObject& objects = metric.description->resultObjects;
  if (objects.size() != 1) {  // none after a refusal
    endRun("Could not monitor: " + metric.name);
  }
  return makeColumn(metric.options, *objects.front());
}

// All descriptions are asked for before the first one is awaited, so they take about one wait for the
// network.
std::vector<Monitor> takeMonitors(Arguments& arguments) {
  std::vector<Monitor> monitors;
  for (NamedMetric& metric : askForDescriptions(arguments)) {
    if (MetricColumn column = awaitColumn(metric)) {
      monitors.push_back({std::move(metric.path), std::move(column)});
    } else {
      printError("Could not monitor: " + metric.name + '\n');
    }
  }
  return monitors;
}

// The polls of a cycle go the same way.
void printCycle(Output& output, std::vector<Monitor>& monitors) {
  g_connection->gather(true);
  for (Monitor& monitor : monitors) {
    monitor.poll = post<TimedCall>(protocol::method::kMetricValue, nameParameter(monitor.path));
  }
  g_connection->gather(false);
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
