#include <cstdint>
#include <cstdlib>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cli/login.h"
#include "cli/options.h"
#include "commands/commands.h"
#include "commands/object_path.h"
#include "commands/property_value.h"
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

UpdateOptions parseUpdateOptions(int count, char** vector, int index) {
  UpdateOptions options;
  Arguments arguments(count, vector, index);
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
      arguments.refuse("attribute=value expected, got: " + argument);
    }
    names.push_back(argument.substr(0, equals));
    options.attributes.insert_or_assign(names.back(), argument.substr(equals + 1));
  }
  options.propertyList = propertyListText(names);
  if (!names.empty() && options.propertyList.empty()) {
    options.propertyList.assign(
        1, ' ');  // a lone name that is empty: asked for too, it is refused like any empty name
  }
  return options;
}

void printLine(const std::string& text) {
  standardOutput().write(text);
  standardOutput().endLine();
}

// Tells the user what the server refuses. That the object has changed since it was read is no matter for the
// user: the command tries again.
class ConsoleUpdate final : public tqlquery::Update {
 public:
  static constexpr auto kChangedMeanwhile = static_cast<std::uint32_t>(ErrorCode::conflict);

  ConsoleUpdate(const std::string& id, std::string version, std::list<protocol::Property> properties)
      : Update(id, std::move(version), std::move(properties)), objectId_(id) {}

  void onError(std::uint32_t code, const protocol::ListOfString1024& messages) override;

 private:
  std::string objectId_;
};

void ConsoleUpdate::onError(std::uint32_t code, const protocol::ListOfString1024& messages) {
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

// The properties to send so that an object with the current ones gets the values of the texts, in the order
// of their names. One that the object lacks goes out as a String: the server decides about it. Throws as
// parsePropertyValue does.
std::list<protocol::Property> changesTo(const tqlquery::PropertyMap& current,
                                        const std::map<std::string, std::string>& attributes) {
  std::list<protocol::Property> changes;
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

// The request for what the object, as it is now, still lacks; null if that is nothing.
comquery::Held<ConsoleUpdate> makeUpdate(const UpdateOptions& options) {
  const FoundObject found = findObject(options.object.text, options.object.byId, {}, options.propertyList);
  std::list<protocol::Property> changes =
      changesTo(tqlquery::byName(found.object->properties), options.attributes);
  if (changes.empty()) {
    return comquery::Held<ConsoleUpdate>(nullptr);
  }
  return comquery::make<ConsoleUpdate>(found.object->id, found.object->version, std::move(changes));
}

}  // namespace

void updateObject(int count, char** vector, int index) {
  const UpdateOptions options = parseUpdateOptions(count, vector, index);
  login();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto update = makeUpdate(options);
    if (update.get() == nullptr) {
      printLine("Values are the same, not updating object.");
      return;
    }
    g_connection->post(*update);
    const std::uint32_t code = g_connection->await(*update);
    if (code == 0) {
      printLine("Succesfully updated object.");
    }
    if (code != ConsoleUpdate::kChangedMeanwhile) {
      return;
    }
  }
  standardOutput().flush();  // which says so if it fails, unlike printError
  printError("Couldn't update object because of concurrent updates. Tried " + intToString(kAttempts) +
             " times, giving up.\n");
  std::exit(EXIT_FAILURE);
}

}  // namespace morvex
