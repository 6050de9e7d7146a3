#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "commands/find_object.h"
#include "commands/property_types.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/output.h"
#include "query/result.h"
#include "query/tql/property_codec.h"
#include "query/update.h"

namespace morvex {

namespace {

constexpr int kAttempts = 10;

struct UpdateOptions {
  ObjectName object;
  std::map<std::string, std::string> attributes;
  std::string propertyList;  // their names as they were given, for the query
};

UpdateOptions takeUpdateOptions(Arguments& arguments) {
  UpdateOptions options;
  while (arguments.nextOption()) {
    if (arguments.letter() != 'i') {
      arguments.refuseOption();
    }
    arguments.takeId(options.object);
  }
  arguments.takePath(options.object);
  std::vector<std::string> names;
  while (!arguments.atEnd()) {
    const std::string argument = arguments.take();
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos) {
      usageError("attribute=value expected, got: " + argument);
    }
    names.push_back(argument.substr(0, equals));
    options.attributes.insert_or_assign(names.back(), argument.substr(equals + 1));
  }
  options.propertyList = propertyListText(names);
  return options;
}

void printLine(const std::string& text) {
  standardOutput().write(text);
  standardOutput().endLine();
}

// The server's code for an object that has changed since it was read.
constexpr auto kChangedMeanwhile = static_cast<std::uint32_t>(ErrorCode::conflict);

// Prints a refusal, except kChangedMeanwhile: the command tries again then.
class ConsoleUpdate final : public tqlquery::Update {
 public:
  ConsoleUpdate(const std::string& id, std::string version, protocol::ListOfProperty properties)
      : Update(id, std::move(version), std::move(properties)), objectId_(id) {}

  void onError(std::uint32_t code, const protocol::ListOfString1024& messages) override {
    if (code == kChangedMeanwhile) {
      return;
    }
    printLine("Error updating " + objectId_ + ":");
    if (messages.empty()) {
      printLine(errorText(code));
    }
    for (const std::string& message : messages) {
      printLine(message);
    }
  }

 private:
  std::string objectId_;
};

// The properties that an object lacks to have the values of the texts, in the order of their names. An
// unknown one goes out as a String, and the server decides about it. Throws as parsePropertyValue does.
protocol::ListOfProperty changesTo(const tqlquery::PropertyMap& current,
                                   const std::map<std::string, std::string>& attributes) {
  protocol::ListOfProperty changes;
  for (const auto& [name, text] : attributes) {
    protocol::Property changed;
    const auto found = current.find(name);
    if (found == current.end()) {
      tql::encode(changed, name, tql::kString, text);
      changes.push_back(std::move(changed));
    } else if (parsePropertyValue(*found->second, changed, text) ||
               (changed.typeWord & tql::kBaseMask) == tql::kAction) {  // started anew each time
      changes.push_back(std::move(changed));
    }
  }
  return changes;
}

}  // namespace

void updateObject(Arguments& arguments) {
  const UpdateOptions options = takeUpdateOptions(arguments);
  login();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const FoundObject found = findObject(options.object, {}, options.propertyList);
    const tqlquery::Result& object = *found.object;
    auto changes = changesTo(tqlquery::byName(object.properties), options.attributes);
    if (changes.empty()) {
      printLine("Values are the same, not updating object.");
      return;
    }
    const std::uint32_t code = ask<ConsoleUpdate>(object.id, object.version, std::move(changes))->errorCode();
    if (code == 0) {
      printLine("Succesfully updated object.");
    }
    if (code != kChangedMeanwhile) {
      return;
    }
  }
  standardOutput().flush();  // which throws if it fails, unlike printError
  printError("Couldn't update object because of concurrent updates. Tried " + intToString(kAttempts) +
             " times, giving up.\n");
  std::exit(EXIT_FAILURE);
}

}  // namespace morvex
