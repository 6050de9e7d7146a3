#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/command_output.h"
#include "cli/login.h"
#include "cli/progress.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "commands/find_object.h"
#include "foundation/assertion.h"
#include "platform/traffic.h"
#include "protocol/facts.h"

// The listings of domains, nodes and checks: a line for each object of the wanted classes, with a column for
// each letter of the -o option, separated by tabs.
//   N  the label          d  the domain part of the path
//   i  the id             n  the node's name
//   p  the whole path     c  the check part of the path, with its leading caret
namespace morvex {

namespace object_class = protocol::object_class;

namespace {

struct Listing {
  std::string columns;                   // that are allowed
  std::vector<std::string> baseClasses;  // whose objects can be listed
  std::vector<std::string> wantedClasses;
  // The expression from a domain, around the star of -r, and from a node.
  std::string head, tail, fromNode;
};

struct ListOptions {
  std::string columns = "Nip";
  bool recursive = false;
  ObjectName object;
};

void checkColumns(const std::string& columns, const std::string& allowed) {
  const std::size_t fault = columns.find_first_not_of(allowed);
  if (fault != std::string::npos) {
    usageError(std::string("Unrecognized output option: '") + columns[fault] + "'. Allowed values are '" +
               allowed + "'");
  }
}

ListOptions takeListOptions(Arguments& arguments, const std::string& allowedColumns) {
  ListOptions options;
  while (arguments.nextOption()) {
    switch (arguments.letter()) {
      case 'i':
        arguments.takeId(options.object);
        break;
      case 'o':
        options.columns = arguments.takeValue();
        checkColumns(options.columns, allowedColumns);
        break;
      case 'r':
        options.recursive = true;
        break;
      default:
        arguments.refuseOption();
    }
  }
  arguments.takeOnlyPath(options.object);
  return options;
}

// Prints one answer.
class TreePrinter {
 public:
  // trail leads to the object whose children are printed.
  TreePrinter(Output& output, const ListOptions& options, const Listing& listing, ObjectTrail trail)
      : output_(output), options_(options), listing_(listing), trail_(std::move(trail)) {}

  // Prints what is below the object, each object before those below it. Depth costs memory, not stack.
  // Throws as getStringProperty and Output do; the lines before that stand.
  void printTree(const tqlquery::Result& object);

 private:
  using Children = protocol::ListOfObject;

  // An object whose children are being printed: the next of them, and the trail to the object's parent.
  struct Level {
    Children::const_iterator next;
    Children::const_iterator end;
    ObjectTrail::Mark parent;
  };

  void enter(const tqlquery::Result& object);
  void printLine(const tqlquery::Result& object);
  void appendColumn(char column, const tqlquery::Result& object);

  Output& output_;
  const ListOptions& options_;
  const Listing& listing_;
  ObjectTrail trail_;
  std::vector<Level> levels_;
  std::string line_;
};

void TreePrinter::printTree(const tqlquery::Result& object) {
  g_progress.enter(Way::written, "rows");
  levels_.push_back({object.children.begin(), object.children.end(), trail_.mark()});
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.end) {
      trail_.cutBack(level.parent);
      levels_.pop_back();
    } else {
      enter(**level.next++);  // level dangles behind this
    }
  }
}

void TreePrinter::enter(const tqlquery::Result& object) {
  levels_.push_back({object.children.begin(), object.children.end(), trail_.mark()});
  trail_.add(object);
  const auto& wanted = listing_.wantedClasses;
  if (std::ranges::find(wanted, object.className) != wanted.end()) {
    printLine(object);
  }
}

void TreePrinter::printLine(const tqlquery::Result& object) {
  line_.clear();  // built whole before it goes out: a missing label leaves no partial line
  for (const char& column : options_.columns) {
    if (&column != &options_.columns.front()) {
      line_ += '\t';
    }
    appendColumn(column, object);
  }
  ++g_traffic.rows;
  output_.write(line_);
  output_.endLine();
}

void TreePrinter::appendColumn(char column, const tqlquery::Result& object) {
  switch (column) {
    case 'N':
      line_ += tqlquery::getStringProperty(object, "longLabel");
      break;
    case 'i':
      line_ += object.id;
      break;
    case 'p':
      trail_.appendPath(line_, object);
      break;
    case 'd':
      line_ += trail_.domains();
      break;
    case 'n':
      line_ += trail_.node();
      break;
    case 'c':
      line_ += trail_.checks();
      break;
    default:
      assertionFailed("Unknown column");
  }
}

void list(Arguments& arguments, const Listing& listing) {
  const ListOptions options = takeListOptions(arguments, listing.columns);
  login();
  showProgress(StandardStream::output);
  FoundObject base = findObject(options.object, listing.baseClasses);
  const std::string star = options.recursive ? "*" : "";
  g_progress.enter(Way::received, "objects", &protocol::Object::kSchema);
  auto query = ask<tqlquery::Select>(base.object->id, base.object->className == object_class::kNode
                                                          ? listing.fromNode
                                                          : listing.head + star + listing.tail);
  const tqlquery::Result* result = query->find_result_opt(base.object->id);
  CommandOutput output;
  if (result != nullptr) {  // a refusal leaves nothing to list
    TreePrinter(output.stream(), options, listing, std::move(base.trail)).printTree(*result);
  }
  output.finish();
  query.keep();
}

}  // namespace

void listDomains(Arguments& arguments) {
  list(arguments, {.columns = "Nipd",
                   .baseClasses = {object_class::kDomain},
                   .wantedClasses = {object_class::kDomain},
                   .head = ". > Domain",
                   .tail = "[siblingName, longLabel]",
                   .fromNode = {}});
}

void listNodes(Arguments& arguments) {
  list(arguments, {.columns = "Nipdn",
                   .baseClasses = {object_class::kDomain},
                   .wantedClasses = {object_class::kNode},
                   .head = object_class::kDomain,
                   .tail = "[siblingName] > Node[siblingName, longLabel]",
                   .fromNode = {}});
}

void listChecks(Arguments& arguments) {
  // Checks that are switched off, and whatever is below them, are left out.
  const std::string checks =
      "Node[siblingName] > CheckGroup*[siblingName]> Check$[siblingName,longLabel] { active = true } > "
      "CheckAccumulation[siblingName,longLabel]";
  list(arguments, {.columns = "Nipdnc",
                   .baseClasses = {object_class::kDomain, object_class::kNode},
                   .wantedClasses = {object_class::kCheck, object_class::kCheckAccumulation},
                   .head = object_class::kDomain,
                   .tail = "[siblingName] > " + checks,
                   .fromNode = checks});
}

}  // namespace morvex
