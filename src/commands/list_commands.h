#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "commands/object_path.h"
#include "platform/output.h"
#include "query/result.h"

namespace morvex {

// The listings of domains, nodes and checks: a line for each object of the wanted classes, with a column for
// each letter of the -o option, separated by tabs.
//   N  the label          d  the domain part of the path
//   i  the id             n  the node's name
//   p  the whole path     c  the check part of the path, with its leading caret

// Names from the top down, joined and escaped, growing and shrinking with a walk.
class NameTrail {
 public:
  struct Mark {
    std::size_t joined;
    std::size_t inPath;
  };

  NameTrail(char delimiter, const std::list<std::string>& names);

  void push(std::string_view name);
  Mark mark() const { return {joined_.size(), inPath_.size()}; }
  void cutBack(const Mark& mark);

  // What joinEscaped gives for the names, empty for none, and the same escaped again as a part of a path.
  std::string_view joined() const { return joined_; }
  std::string_view inPath() const { return inPath_; }

 private:
  char delimiter_;
  std::string joined_;
  std::string inPath_;
};

// Prints one answer. chain leads to the object whose children are printed, and outlives the printer.
class TreePrinter {
 public:
  TreePrinter(Output& output, std::string columns, std::vector<std::string> classesPrinted,
              const ObjectChain& chain);

  // Prints what is below the object, each object before those below it. Depth costs memory, not stack.
  // Throws as getStringProperty and Output do; the lines before that stand.
  void printTree(const tqlquery::Result& object);

 private:
  using Children = protocol::ListOfObject;

  // An object under way: which of its children comes next, and what to go back to behind the last one.
  struct Level {
    Children::const_iterator next;
    Children::const_iterator end;
    NameTrail::Mark domains;
    std::size_t nodes;
    NameTrail::Mark checks;
  };

  Level levelOf(const tqlquery::Result& object) const;
  void enter(const tqlquery::Result& object);
  void printLine(const tqlquery::Result& object);
  void appendColumn(char column, const tqlquery::Result& object);
  void appendPath(PathPart part);

  Output& output_;
  std::string columns_;
  std::vector<std::string> classesPrinted_;
  NameTrail domains_;
  std::vector<std::string_view> nodes_;  // the last one is the current
  NameTrail checks_;
  std::vector<Level> levels_;
  std::string line_;
};

}  // namespace morvex
