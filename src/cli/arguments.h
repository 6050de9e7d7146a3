#pragma once

#include <string>

namespace morvex {

// The object that a command works on.
struct ObjectName {
  std::string text;   // a path, or an id
  bool byId = false;  // -i was given
};

// Walks the argument vector from left to right: global options, the command word, the options of the command,
// its operands. An argument that does not fit is a usage error, which ends the run.
class Arguments {
 public:
  Arguments(int argc, char** argv) : argc_(argc), argv_(argv) {}

  // Moves on to the next option, "-x" or "/x". False at the first argument that does not begin like one, and
  // at the end.
  bool nextOption();
  // The letter of the option that nextOption found.
  char letter() const { return option_[1]; }
  // Takes the argument behind that option, whatever it looks like.
  char* takeValue();
  // For an option with an unknown letter.
  [[noreturn]] void refuseOption() const;

  // Takes the value of -i. A later one replaces it.
  void takeId(ObjectName& object);
  // Takes the path behind the options, unless an id names the object.
  void takePath(ObjectName& object);
  // The same for a command without further operands. Behind an id, the rest is ignored.
  void takeOnlyPath(ObjectName& object);

  bool atEnd() const { return index_ >= argc_; }
  char* take() { return argv_[index_++]; }

 private:
  int argc_;
  char** argv_;
  int index_ = 1;  // behind the name of the program
  const char* option_ = nullptr;
};

}  // namespace morvex
