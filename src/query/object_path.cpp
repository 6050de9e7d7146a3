#include "query/object_path.h"

#include <algorithm>
#include <iterator>

#include "foundation/errors.h"
#include "protocol/facts.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

constexpr std::string_view kNamesOnly = "[siblingName]";
constexpr std::string_view kAllProperties = "*";

std::list<std::string> splitPart(const std::string& part, char delimiter) {
  std::list<std::string> pieces;
  splitEscaped(pieces, delimiter + part, delimiter);
  return pieces;
}

std::string joinWith(std::string_view separator, const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text.append(&word == &words.front() ? "" : separator).append(word);
  }
  return text;
}

// The projection of the last step. The steps above it ask for their names alone.
std::string projection(const std::string& properties) {
  if (properties == kAllProperties) {
    return "!";
  }
  return properties.empty() ? std::string(kNamesOnly) : "[siblingName, " + properties + "]";
}

// One step down for each name; the last one carries the projection of the object, if this part names it.
void appendSteps(std::string& expression, std::string_view className, const std::list<std::string>& names,
                 std::string_view lastProjection) {
  for (const std::string& name : names) {
    expression.append(" > ").append(className);
    expression += &name == &names.back() ? lastProjection : kNamesOnly;
    expression += " { siblingName = " + quoteTqlString(name) + " }";
  }
}

// The part of a path that an object's name belongs to.
enum class PathPart { domain, node, check, none };

PathPart pathPartOf(std::string_view className) {
  struct Row {
    std::string_view className;
    PathPart part;
  };
  static constexpr Row kRows[] = {
      {object_class::kDomain, PathPart::domain},
      {object_class::kNode, PathPart::node},
      {object_class::kCheck, PathPart::check},
      {object_class::kCheckGroup, PathPart::check},
      {object_class::kCheckAccumulation, PathPart::check},
  };
  const Row* found = std::ranges::find(kRows, className, &Row::className);
  return found == std::end(kRows) ? PathPart::none : found->part;
}

}  // namespace

void splitEscaped(std::list<std::string>& list, std::string_view text, char delimiter) {
  if (!text.empty() && text.front() != delimiter) {
    throw error::EParseError("String does not contain delimiter as first character");
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == delimiter) {
      list.emplace_back();
    } else if (text[i] != '\\' || ++i < text.size()) {  // a backslash at the end escapes nothing
      list.back() += text[i];
    }
  }
}

std::string joinEscaped(std::span<const std::string> elements, char delimiter) {
  std::string text;
  for (const std::string& element : elements) {
    text += delimiter;
    appendEscaped(text, element, delimiter);
  }
  return text;
}

void appendEscaped(std::string& to, std::string_view text, char special) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == special || text[i] == '\\') {
      to.append(text.substr(begin, i - begin)) += '\\';
      begin = i;
    }
  }
  to.append(text.substr(begin));
}

std::string quoteTqlString(std::string_view text) {
  std::string literal = "\"";
  appendEscaped(literal, text, '"');
  literal += '"';
  return literal;
}

std::string classListText(const std::vector<std::string>& classes) {
  return classes.empty() ? "object" : joinWith(" or ", classes);
}

std::string propertyListText(const std::vector<std::string>& names) {
  const std::string text = joinWith(", ", names);
  const bool asksForOther = !names.empty() && (text.empty() || text == kAllProperties);
  return asksForOther ? " " + text : text;  // the parser refuses these two, which no property can be called
}

std::string pathExpression(const std::string& path, bool byId, const std::string& properties) {
  const std::string wanted = projection(properties);
  if (byId) {
    return ".*[siblingName] > ." + wanted + " { id = \"" + path + "\" }";
  }
  const std::list<std::string> list = splitPart(path, ',');
  const std::vector<std::string> parts(list.begin(), list.end());
  if (parts.size() > 3) {
    throw error::EFatal("Too many ,'s in path specification");
  }
  if (parts[0].empty()) {
    throw error::EFatal("path invalid or not specified");
  }
  const auto projectionOf = [&](std::size_t part) {
    return part + 1 == parts.size() ? std::string_view(wanted) : kNamesOnly;
  };
  std::string expression = object_class::kDomain;
  if (parts[0] == ".") {
    expression += wanted;  // also when the root is not the object itself
  } else {
    expression += kNamesOnly;
    appendSteps(expression, object_class::kDomain, splitPart(parts[0], '.'), projectionOf(0));
  }
  if (parts.size() > 1) {
    appendSteps(expression, object_class::kNode, {parts[1]}, projectionOf(1));
  }
  if (parts.size() > 2) {
    appendSteps(expression, ".", splitPart(parts[2], '^'), projectionOf(2));
  }
  return expression;
}

void ObjectTrail::add(const tqlquery::Result& object) {
  const PathPart part = pathPartOf(object.className);
  if (part == PathPart::none) {
    return;
  }
  const std::string_view name = tqlquery::getStringProperty(object, "siblingName");
  if (part == PathPart::node) {
    nodes_.push_back(name);
  } else {
    (part == PathPart::domain ? domains_ : checks_).push(name);
  }
}

ObjectTrail::Mark ObjectTrail::mark() const {
  return {domains_.joined.size(), domains_.escaped.size(), nodes_.size(), checks_.joined.size(),
          checks_.escaped.size()};
}

void ObjectTrail::cutBack(const Mark& mark) {
  domains_.joined.resize(mark.domains);
  domains_.escaped.resize(mark.escapedDomains);
  nodes_.resize(mark.nodes);
  checks_.joined.resize(mark.checks);
  checks_.escaped.resize(mark.escapedChecks);
}

void ObjectTrail::appendPath(std::string& to, const tqlquery::Result& object) const {
  const PathPart part = pathPartOf(object.className);
  to += domainText(domains_.escaped);
  if (part != PathPart::domain) {
    to += ',';
    appendEscaped(to, node(), ',');
  }
  if (part == PathPart::check) {
    to.append(",").append(checks_.escaped, 1);
  }
}

void ObjectTrail::Names::push(std::string_view name) {
  const std::size_t begin = joined.size();
  joined += delimiter;
  appendEscaped(joined, name, delimiter);
  appendEscaped(escaped, std::string_view(joined).substr(begin), ',');
}

}  // namespace morvex
