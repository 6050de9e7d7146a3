#pragma once

#include <cstddef>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "query/result.h"

namespace morvex {

// Paths name objects: "Backbone.Routers,mainrouter,group^check". A backslash makes the next character
// literal. Commas are split first, and dots or carets inside a part afterwards: each split removes one level
// of backslashes.

// Appends to list the text behind each unescaped delimiter. text begins with a delimiter, or is empty.
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

// The TQL expression that finds the object of a path, or of an id, from the root. properties is empty, "*",
// or names joined by ", ". Throws error::EFatal.
std::string pathExpression(const std::string& path, bool byId, const std::string& properties);

// The names on the way from the root down to an object. A trail grows and shrinks with a walk through the
// tree. Objects without a part in paths leave no name in it.
class ObjectTrail {
 public:
  struct Mark {
    std::size_t domains, escapedDomains, nodes, checks, escapedChecks;
  };

  // Goes down to an object, which outlives the trail. Throws as getStringProperty does.
  void add(const tqlquery::Result& object);
  Mark mark() const;
  // Goes back up to where mark was called.
  void cutBack(const Mark& mark);

  // The domain part of the path, "." for the root; the name of the node; the check part with its leading
  // caret. All of them with one level of backslashes less than in a path.
  std::string_view domains() const { return domainText(domains_.joined); }
  std::string_view node() const { return nodes_.back(); }
  std::string_view checks() const { return checks_.joined; }

  // Appends the path of the object that was added last.
  void appendPath(std::string& to, const tqlquery::Result& object) const;

 private:
  // Names joined with the delimiter in front of each, and the same escaped again as a part of a path.
  struct Names {
    void push(std::string_view name);

    char delimiter;
    std::string joined, escaped;
  };

  static std::string_view domainText(std::string_view names) { return names.empty() ? "." : names.substr(1); }

  Names domains_{'.', {}, {}};
  std::vector<std::string_view> nodes_{""};  // the last one counts
  Names checks_{'^', {}, {}};
};

}  // namespace morvex
