#pragma once

#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "query/result.h"
#include "query/select.h"
#include "session/request.h"

namespace morvex {

// Paths name objects: "Backbone.Routers,mainrouter,group^check". A backslash makes the next character
// literal; commas are split first and dots or carets inside a part afterwards, so each stage takes away one
// level.

// Appends to list what text holds behind each unescaped delimiter; text must begin with one, or be empty.
// Throws error::EParseError.
void splitEscaped(std::list<std::string>& list, std::string_view text, char delimiter);

// The inverse: every element with the delimiter in front of it.
std::string joinEscaped(std::span<const std::string> elements, char delimiter);

// Appends text with a backslash in front of each backslash and of each special character.
void appendEscaped(std::string& to, std::string_view text, char special);

// A TQL string literal.
std::string quoteTqlString(std::string_view text);

// "Domain or Node"; "object" for no class.
std::string classListText(const std::vector<std::string>& classes);

// The names of properties as pathExpression takes them. They are not checked: the parser does that.
std::string propertyListText(const std::vector<std::string>& names);

// The TQL expression for a path, or for an id. properties is empty, "*", or names joined by ", ".
// Throws error::EFatal.
std::string pathExpression(const std::string& path, bool byId, const std::string& properties);

// Which part of a path an object's name belongs to.
enum class PathPart { domain, node, check, none };
PathPart pathPartOf(std::string_view className);

// The name of an object among its siblings, which paths are made of. Throws as getStringProperty does.
std::string_view siblingName(const tqlquery::Result& object);

// The sibling names on the way from the root down to an object, top first.
struct ObjectChain {
  std::list<std::string> domains;
  std::string node;
  std::list<std::string> checks;

  // Notes one object of the way. Throws as getStringProperty does.
  void add(const tqlquery::Result& object);
};

struct FoundObject {
  comquery::Held<tqlquery::Select> query;  // owns what object points into
  const tqlquery::Result* object;
  ObjectChain chain;
};

// Resolves a path or an id to one object of an accepted class; no classes accept any. Needs a login.
// Throws error::EFatal, and what the query throws.
FoundObject findObject(const std::string& path, bool byId, const std::vector<std::string>& acceptedClasses,
                       const std::string& properties);

}  // namespace morvex
