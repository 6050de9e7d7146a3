#include <set>
#include <string>
#include <vector>

#include "cli/command_output.h"
#include "cli/login.h"
#include "commands/commands.h"
#include "commands/find_object.h"
#include "commands/property_types.h"
#include "platform/output.h"

namespace morvex {

namespace {

struct PropertiesOptions {
  bool allProperties = false;
  bool showTypes = false;
  ObjectName object;
  std::set<std::string> wanted;
  std::string propertyList;  // for the query
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
  options.propertyList.assign(1, '*');
}

PropertiesOptions takePropertiesOptions(Arguments& arguments) {
  PropertiesOptions options;
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

// Prints the properties, one on a line as name=value: all of them, or those that are wanted.
void printProperties(Output& output, const tqlquery::Result& object, const PropertiesOptions& options) {
  const auto isWanted = [&options](const std::string& name) {
    return options.allProperties || options.wanted.contains(name);
  };
  const auto print = [&](const std::string& name, const std::string& value, const std::string& type) {
    output.write(name + "=" + value + (options.showTypes ? " (" + type + ")" : ""));
    output.endLine();
  };
  const auto printOwn = [&](const char* name, const std::string& value, const char* type) {
    if (isWanted(name)) {
      print(name, value, type);
    }
  };
  printOwn("id", object.id, "Const Id");
  printOwn("class", object.className, "Const Class Type");
  printOwn("version", object.version, "Version String, Read Only");
  for (const auto& [name, property] : tqlquery::byName(object.properties)) {
    if (isWanted(property->name)) {  // a bad value leaves no partial line
      print(property->name, propertyText(*property), propertyTypeText(*property));
    }
  }
}

}  // namespace

void listProperties(Arguments& arguments) {
  const PropertiesOptions options = takePropertiesOptions(arguments);
  login();
  const FoundObject found = findObject(options.object, {}, options.propertyList);
  CommandOutput output;
  printProperties(output.stream(), *found.object, options);
  output.finish();
}

}  // namespace morvex
