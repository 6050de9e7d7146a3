#include "commands/object_path.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cli/login.h"
#include "foundation/errors.h"
#include "protocol/facts.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

constexpr std::string_view kNamesOnly = "[siblingName]";

std::list<std::string> splitPart(const std::string& part, char delimiter) {
  std::list<std::string> pieces;
  splitEscaped(pieces, delimiter + part, delimiter);
  return pieces;
}

std::string joinWith(std::string_view separator, const std::vector<std::string>& words) {
  std::string text;
  for (std::size_t i = 0; i < words.size(); ++i) {
    text.append(i == 0 ? "" : separator).append(words[i]);
  }
  return text;
}

// What the step of the object itself asks for. The steps above it only ask for their names.
std::string projection(const std::string& properties) {
  if (properties == "*") {
    return "!";
  }
  return properties.empty() ? std::string(kNamesOnly) : "[siblingName, " + properties + "]";
}

// One step down for each name; the last one carries the projection of the object, if this part names it.
void appendSteps(std::string& expression, std::string_view className, const std::list<std::string>& names,
                 std::string_view lastProjection) {
  for (const std::string& name : names) {
    expression += " > ";
    expression += className;
    expression += &name == &names.back() ? lastProjection : kNamesOnly;
    expression += " { siblingName = ";
    expression += quoteTqlString(name);
    expression += " }";
  }
}

}  // namespace

void splitEscaped(std::list<std::string>& list, std::string_view text, char delimiter) {
  if (text.empty()) {
    return;
  }
  if (text.front() != delimiter) {
    throw error::EParseError("String does not contain delimiter as first character");
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == delimiter) {
      list.emplace_back();
    } else if (text[i] != '\\') {
      list.back() += text[i];
    } else if (++i < text.size()) {  // a backslash at the end escapes nothing
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

std::string propertyListText(const std::vector<std::string>& names) { return joinWith(", ", names); }

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
    expression += wanted;  // also when it is not the root that is looked for
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

PathPart pathPartOf(std::string_view className) {
  static constexpr std::array<std::pair<std::string_view, PathPart>, 5> kParts{{
      {object_class::kDomain, PathPart::domain},
      {object_class::kNode, PathPart::node},
      {object_class::kCheck, PathPart::check},
      {object_class::kCheckGroup, PathPart::check},
      {object_class::kCheckAccumulation, PathPart::check},
  }};
  const auto* found = std::find_if(kParts.begin(), kParts.end(),
                                   [className](const auto& row) { return row.first == className; });
  return found == kParts.end() ? PathPart::none : found->second;
}

std::string_view siblingName(const tqlquery::Result& object) {
  return tqlquery::getStringProperty(object, "siblingName");
}

void ObjectChain::add(const tqlquery::Result& object) {
  switch (pathPartOf(object.className)) {
    case PathPart::domain:
      domains.emplace_back(siblingName(object));
      break;
    case PathPart::node:
      node = siblingName(object);
      break;
    case PathPart::check:
      checks.emplace_back(siblingName(object));
      break;
    case PathPart::none:
      break;
  }
}

FoundObject findObject(const std::string& path, bool byId, const std::vector<std::string>& acceptedClasses,
                       const std::string& properties) {
  auto query = comquery::make<tqlquery::Select>(g_rootObjectId, pathExpression(path, byId, properties), 0U);
  g_connection->post(*query);
  g_connection->await(*query);  // a refused query leaves no result, which says enough
  const tqlquery::Result* object = query->find_result_opt(g_rootObjectId);
  if (object == nullptr) {
    throw error::EFatal("No " + classListText(acceptedClasses) + " found that matches \"" + path + "\"");
  }
  ObjectChain chain;
  while (object->children.size() == 1) {
    object = object->children.front().get();
    chain.add(*object);
  }
  if (!object->children.empty()) {
    throw error::EFatal("Path is ambiguous.");
  }
  if (!acceptedClasses.empty() &&
      std::find(acceptedClasses.begin(), acceptedClasses.end(), object->className) == acceptedClasses.end()) {
    throw error::EFatal("Path does not specify a " + classListText(acceptedClasses) + ", as it should.");
  }
  return {std::move(query), object, std::move(chain)};
}

}  // namespace morvex
