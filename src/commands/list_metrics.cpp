#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "commands/commands.h"
#include "foundation/errors.h"
#include "platform/output.h"
#include "protocol/facts.h"
#include "query/call.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

using tqlquery::Result;

// The last line of a table; empty if it has no instances.
std::string closingOf(const Result& table) {
  std::string text;
  for (const protocol::Owned<Result>& child : table.children) {
    if (child->className == object_class::kInstance) {
      text += text.empty() ? "Where * in {" : ",";
      text += tqlquery::getStringProperty(*child, "name");
    }
  }
  return text.empty() ? text : text + '}';
}

// Prints a line for each metric below the root, sorted by name inside each group: its dotted path, class,
// unit and description. A star in the path stands for the instances of a table; a line behind the table names
// them.
class MetricPrinter {
 public:
  explicit MetricPrinter(Output& output) : output_(output) {}

  // Sorts the tree. Depth costs memory, not stack. Throws as getStringProperty, sortChildren and Output do;
  // the lines before that stand.
  void print(Result& root);

 private:
  using Children = protocol::ListOfObject;

  // A group or table whose children are being printed.
  struct Level {
    Children::iterator next;
    Children::iterator end;
    std::size_t outerPrefix;  // the length of the prefix outside
    std::string closing;      // of a table
  };

  void printChild(Result& child);
  void enter(Result& branch, std::size_t outerPrefix);
  std::size_t extendPrefix(const Result& object);
  void leave(const Level& level);
  void printMetric(const Result& metric);

  Output& output_;
  std::string prefix_;
  std::vector<Level> levels_;
  std::string line_;
};

void MetricPrinter::print(Result& root) {
  enter(root, 0);
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

// The instances of a table have no lines of their own.
void MetricPrinter::printChild(Result& child) {
  const bool inTable = !levels_.back().closing.empty();
  if (child.className == object_class::kGroup || child.className == object_class::kTable) {
    enter(child, extendPrefix(child));
  } else if (!inTable || child.className != object_class::kInstance) {
    printMetric(child);
  }
}

void MetricPrinter::enter(Result& branch, std::size_t outerPrefix) {
  tqlquery::sortChildren(branch, {"name", true});
  std::string closing;
  if (branch.className == object_class::kTable) {
    closing = closingOf(branch);
    if (closing.empty()) {  // a table without instances stands for no metrics
      prefix_.resize(outerPrefix);
      return;
    }
    prefix_ += "*.";
  }
  levels_.push_back({branch.children.begin(), branch.children.end(), outerPrefix, std::move(closing)});
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

void listMetrics(Arguments&) {
  login();
  auto call = ask<tqlquery::Call>(protocol::method::kMetricTree);
  if (call->resultObjects.size() != 1) {  // none after a refusal
    printError("Error getting Morvex server metrics\n");
    return;
  }
  Result& root = *call->resultObjects.front();
  // No assertion: a server must not be able to abort the program.
  if (root.className != object_class::kGroup) {
    throw error::EFatal("Invalid argument");
  }
  MetricPrinter(standardOutput()).print(root);
  standardOutput().flush();
  call.keep();
}

}  // namespace morvex
