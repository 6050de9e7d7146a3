#include "commands/list_metrics.h"

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "cli/login.h"
#include "commands/commands.h"
#include "foundation/errors.h"
#include "protocol/facts.h"
#include "query/call.h"
#include "session/connection.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

using tqlquery::Result;

// Walks the tree of metrics with a stack of its own.
class MetricPrinter {
 public:
  explicit MetricPrinter(Output& output) : output_(output) {}

  void print(Result& root);

 private:
  using Children = protocol::ListOfObject;

  // A group or table under way: which of its children comes next, and what to go back to behind the last.
  struct Level {
    Children::iterator next;
    Children::iterator end;
    std::size_t outerPrefix;   // the length of the prefix outside
    std::string closing = {};  // the last line of a table
  };

  void printChild(Result& child);
  void enterGroup(Result& group, std::size_t outerPrefix);
  void enterTable(Result& table, std::size_t outerPrefix);
  std::size_t extendPrefix(const Result& object);
  void leave(const Level& level);
  void printMetric(const Result& metric);

  Output& output_;
  std::string prefix_;
  std::vector<Level> levels_;
  std::string line_;
};

void MetricPrinter::print(Result& root) {
  enterGroup(root, 0);
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.end) {
      leave(level);
      levels_.pop_back();
    } else {
      printChild(**level.next++);
    }
  }
}

// Instances are only named, by the line that closes their table.
void MetricPrinter::printChild(Result& child) {
  const bool inTable = !levels_.back().closing.empty();
  if (child.className == object_class::kGroup) {
    enterGroup(child, extendPrefix(child));
  } else if (child.className == object_class::kTable) {
    enterTable(child, extendPrefix(child));
  } else if (!inTable || child.className != object_class::kInstance) {
    printMetric(child);
  }
}

void MetricPrinter::enterGroup(Result& group, std::size_t outerPrefix) {
  tqlquery::sortChildren(group, {"name", true});
  levels_.push_back({group.children.begin(), group.children.end(), outerPrefix});
}

// A table without instances stands for no metrics.
void MetricPrinter::enterTable(Result& table, std::size_t outerPrefix) {
  tqlquery::sortChildren(table, {"name", true});
  std::string closing;
  for (const protocol::Owned<Result>& child : table.children) {
    if (child->className == object_class::kInstance) {
      closing += closing.empty() ? "Where * in {" : ",";
      closing += tqlquery::getStringProperty(*child, "name");
    }
  }
  if (closing.empty()) {
    prefix_.resize(outerPrefix);
    return;
  }
  prefix_ += "*.";
  levels_.push_back({table.children.begin(), table.children.end(), outerPrefix, closing + '}'});
}

// Returns the length that the prefix had.
std::size_t MetricPrinter::extendPrefix(const Result& object) {
  const std::size_t outerPrefix = prefix_.size();
  prefix_.append(tqlquery::getStringProperty(object, "name")).append(".");
  return outerPrefix;
}

void MetricPrinter::leave(const Level& level) {
  if (!level.closing.empty()) {
    output_.write(level.closing);
    output_.endLine();
  }
  prefix_.resize(level.outerPrefix);
}

void MetricPrinter::printMetric(const Result& metric) {
  line_ = prefix_;
  line_ += tqlquery::getStringProperty(metric, "name");
  line_.append("\t").append(metric.className);
  for (const char* property : {"unit", "description"}) {
    line_.append("\t").append(tqlquery::getStringProperty(metric, property));
  }
  output_.write(line_);
  output_.endLine();
}

}  // namespace

void printMetricGroup(Output& output, Result& root) {
  // The root comes from the server, so another class is an error like any other: an assertion would let a
  // peer abort the program.
  if (root.className != object_class::kGroup) {
    throw error::EFatal("Invalid argument");
  }
  MetricPrinter(output).print(root);
}

void listMetrics(int, char**, int) {
  login();
  auto call = comquery::make<tqlquery::Call>(protocol::method::kMetricTree, std::list<protocol::Property>(),
                                             std::vector<const Result*>());
  g_connection->post(*call);
  g_connection->await(*call);  // a refusal leaves no objects
  if (call->resultObjects.size() != 1) {
    printError("Error getting Morvex server metrics\n");
    return;
  }
  printMetricGroup(standardOutput(), *call->resultObjects.front());
  standardOutput().flush();
  call.keep();
}

}  // namespace morvex
