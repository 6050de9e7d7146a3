#include <set>
#include <string>
#include <vector>

#include "cli/command_output.h"
#include "cli/login.h"
#include "cli/options.h"
#include "commands/commands.h"
#include "commands/object_path.h"
#include "commands/property_text.h"
#include "platform/output.h"

namespace morvex {

namespace {

struct PropertiesOptions {
  bool allProperties = false;
  bool showTypes = false;
  ObjectName object;
  std::set<std::string> wanted;
  std::string propertyList;  // what the query asks for
};

void takeNames(Arguments& arguments, PropertiesOptions& options) {
  std::vector<std::string> names;
  while (!arguments.atEnd()) {
    names.emplace_back(arguments.take());
  }
  options.propertyList = propertyListText(names);
  options.wanted.insert(names.begin(), names.end());
  if (!options.allProperties) {
    return;
  }
  if (!options.propertyList.empty()) {
    printError(
        "Notice: Both -a and specific properties specified.\n"
        "-a includes all properties.\n");
  }
  options.propertyList = std::string("*");
}

PropertiesOptions parsePropertiesOptions(int count, char** vector, int index) {
  PropertiesOptions options;
  Arguments arguments(count, vector, index);
  while (arguments.nextOption()) {
    switch (arguments.letter()) {
      case 'a':
        options.allProperties = true;
        break;
      case 'i':
        arguments.takeId(options.object);
        break;
      case 't':
        options.showTypes = true;
        break;
      default:
        arguments.refuseOption();
    }
  }
  arguments.takePath(options.object);
  takeNames(arguments, options);
  return options;
}

}  // namespace

void listProperties(int count, char** vector, int index) {
  const PropertiesOptions options = parsePropertiesOptions(count, vector, index);
  login();
  const FoundObject found = findObject(options.object.text, options.object.byId, {}, options.propertyList);
  CommandOutput output(vector[0]);
  writeProperties(output.stream(), *found.object, options.showTypes, options.allProperties, options.wanted);
  output.finish();
}

}  // namespace morvex
