#include "cli/arguments.h"

#include <cstring>

#include "cli/usage.h"

namespace morvex {

bool Arguments::nextOption() {
  if (atEnd() || (argv_[index_][0] != '-' && argv_[index_][0] != '/')) {
    return false;
  }
  option_ = take();
  if (std::strlen(option_) != 2) {
    refuseOption();
  }
  return true;
}

char* Arguments::takeValue() {
  if (atEnd()) {
    usageError(std::string("Missing parameter to option ") + option_);
  }
  return take();
}

void Arguments::refuseOption() const { usageError(std::string("Unknown option ") + option_); }

void Arguments::takeId(ObjectName& object) { object = {.text = takeValue(), .byId = true}; }

void Arguments::takePath(ObjectName& object) {
  if (object.byId) {
    return;
  }
  if (atEnd()) {
    usageError("No path specified. Either use -i or supply a path.");
  }
  object.text = take();
}

void Arguments::takeOnlyPath(ObjectName& object) {
  takePath(object);
  if (!object.byId && !atEnd()) {
    usageError("No arguments allowed after path specification.");
  }
}

}  // namespace morvex
