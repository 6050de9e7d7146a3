#include "commands/list_commands.h"

#include <algorithm>
#include <utility>

#include "cli/command_output.h"
#include "cli/login.h"
#include "cli/options.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "foundation/assertion.h"
#include "platform/traffic.h"
#include "protocol/facts.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

// Checks that are switched off, and whatever is below them, are left out.
constexpr std::string_view kCheckTail =
    "Node[siblingName] > CheckGroup*[siblingName]> Check$[siblingName,longLabel] { active = true } > "
    "CheckAccumulation[siblingName,longLabel]";

struct ListOptions {
  std::string columns = "Nip";
  bool recursive = false;
  ObjectName object;
};

void checkColumns(const Arguments& arguments, const std::string& columns, const std::string& allowed) {
  const std::size_t fault = columns.find_first_not_of(allowed);
  if (fault != std::string::npos) {
    arguments.refuse(std::string("Unrecognized output option: '") + columns[fault] +
                     "'. Allowed values are '" + allowed + "'");
  }
}

ListOptions parseListOptions(int count, char** vector, int index, const std::string& allowed) {
  ListOptions options;
  Arguments arguments(count, vector, index);
  while (arguments.nextOption()) {
    switch (arguments.letter()) {
      case 'i':
        arguments.takeId(options.object);
        break;
      case 'o':
        options.columns = arguments.takeValue();
        checkColumns(arguments, options.columns, allowed);
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

FoundObject findListed(const ListOptions& options, const std::vector<std::string>& acceptedClasses) {
  return findObject(options.object.text, options.object.byId, acceptedClasses, "");
}

const char* star(const ListOptions& options) { return options.recursive ? "*" : ""; }

void runListQuery(const char* programName, const ListOptions& options, const FoundObject& base,
                  std::string expression, std::vector<std::string> classesPrinted) {
  const std::string& baseId = base.object->id;
  auto query = comquery::make<tqlquery::Select>(baseId, std::move(expression), 0U);
  g_progress.enter(Way::received, "objects");
  g_connection->post(*query);
  g_connection->await(*query);  // a refusal leaves nothing to list
  const tqlquery::Result* result = query->find_result_opt(baseId);
  CommandOutput output(programName);
  if (result != nullptr) {
    TreePrinter(output.stream(), options.columns, std::move(classesPrinted), base.chain).printTree(*result);
  }
  output.finish();
  query.keep();
}

// The root domain, which no trail names, is a lone dot.
std::string_view domainText(std::string_view joined) { return joined.empty() ? "." : joined.substr(1); }

}  // namespace

NameTrail::NameTrail(char delimiter, const std::list<std::string>& names) : delimiter_(delimiter) {
  for (const std::string& name : names) {
    push(name);
  }
}

void NameTrail::push(std::string_view name) {
  const std::size_t begin = joined_.size();
  joined_ += delimiter_;
  appendEscaped(joined_, name, delimiter_);
  appendEscaped(inPath_, std::string_view(joined_).substr(begin), ',');
}

void NameTrail::cutBack(const Mark& mark) {
  joined_.resize(mark.joined);
  inPath_.resize(mark.inPath);
}

TreePrinter::TreePrinter(Output& output, std::string columns, std::vector<std::string> classesPrinted,
                         const ObjectChain& chain)
    : output_(output),
      columns_(std::move(columns)),
      classesPrinted_(std::move(classesPrinted)),
      domains_('.', chain.domains),
      nodes_{chain.node},
      checks_('^', chain.checks) {}

void TreePrinter::printTree(const tqlquery::Result& object) {
  g_progress.enter(Way::written, "rows");
  levels_.push_back(levelOf(object));
  while (!levels_.empty()) {
    Level& level = levels_.back();
    if (level.next == level.end) {
      domains_.cutBack(level.domains);
      nodes_.resize(level.nodes);
      checks_.cutBack(level.checks);
      levels_.pop_back();
    } else {
      enter(**level.next++);  // level dangles behind this
    }
  }
}

TreePrinter::Level TreePrinter::levelOf(const tqlquery::Result& object) const {
  return {object.children.begin(), object.children.end(), domains_.mark(), nodes_.size(), checks_.mark()};
}

void TreePrinter::enter(const tqlquery::Result& object) {
  levels_.push_back(levelOf(object));
  switch (pathPartOf(object.className)) {
    case PathPart::domain:
      domains_.push(siblingName(object));
      break;
    case PathPart::node:
      nodes_.push_back(siblingName(object));
      break;
    case PathPart::check:
      checks_.push(siblingName(object));
      break;
    case PathPart::none:
      break;
  }
  if (std::find(classesPrinted_.begin(), classesPrinted_.end(), object.className) != classesPrinted_.end()) {
    printLine(object);
  }
}

void TreePrinter::printLine(const tqlquery::Result& object) {
  line_.clear();  // built whole before it goes out: a missing label leaves no partial line
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i != 0) {
      line_ += '\t';
    }
    appendColumn(columns_[i], object);
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
      appendPath(pathPartOf(object.className));
      break;
    case 'd':
      line_ += domainText(domains_.joined());
      break;
    case 'n':
      line_ += nodes_.back();
      break;
    case 'c':
      line_ += checks_.joined();
      break;
    default:
      assertionFailed("Unknown column");
  }
}

void TreePrinter::appendPath(PathPart part) {
  line_ += domainText(domains_.inPath());
  if (part != PathPart::domain) {
    line_ += ',';
    appendEscaped(line_, nodes_.back(), ',');
  }
  if (part == PathPart::check) {
    line_ += ',';
    line_ += checks_.inPath().substr(1);
  }
}

void listDomains(int count, char** vector, int index) {
  const ListOptions options = parseListOptions(count, vector, index, "Nipd");
  login();
  showProgress(StandardStream::output);
  const FoundObject base = findListed(options, {object_class::kDomain});
  const std::string expression = std::string(". > Domain") + star(options) + "[siblingName, longLabel]";
  runListQuery(vector[0], options, base, expression, {object_class::kDomain});
}

void listNodes(int count, char** vector, int index) {
  const ListOptions options = parseListOptions(count, vector, index, "Nipdn");
  login();
  showProgress(StandardStream::output);
  const FoundObject base = findListed(options, {object_class::kDomain});
  const std::string expression =
      std::string("Domain") + star(options) + "[siblingName] > Node[siblingName, longLabel]";
  runListQuery(vector[0], options, base, expression, {object_class::kNode});
}

void listChecks(int count, char** vector, int index) {
  const ListOptions options = parseListOptions(count, vector, index, "Nipdnc");
  login();
  showProgress(StandardStream::output);
  const FoundObject base = findListed(options, {object_class::kDomain, object_class::kNode});
  std::string expression;
  if (base.object->className == object_class::kDomain) {
    expression = std::string("Domain") + star(options) + "[siblingName] > ";
  }
  expression += kCheckTail;
  runListQuery(vector[0], options, base, expression,
               {object_class::kCheck, object_class::kCheckAccumulation});
}

}  // namespace morvex
