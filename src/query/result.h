#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "protocol/messages/object_tree.h"

namespace morvex::tqlquery {

// One object of an answer, and those below it, as they stand in the message. The tree mirrors the query: step
// n matched an object at depth n. An object owns its children, to any depth. It has the properties that the
// query asked for; className, id and version come with every object and are members. Of two properties with
// one name the first counts.
using Result = protocol::Object;

// Properties by their names. The map points into the list.
using PropertyMap = std::map<std::string_view, const protocol::Property*>;
PropertyMap byName(const protocol::ListOfProperty& properties);

// One property; null if there is none of that name. To look up many, use byName.
const protocol::Property* findProperty(const protocol::ListOfProperty& properties, std::string_view name);

// The value of a property of type String, which lives as long as the object is not changed. Throws
// errors::objecterror if the object lacks it, errors::tql if it is null or of another type.
std::string_view getStringProperty(const Result& object, std::string_view name);

// What children are sorted by.
struct SortKey {
  std::string name;  // of a property
  bool ascending = true;
};

// Sorts the children by a property, stably. In ascending order those that lack it come first. Throws
// errors::tql_incomparable for values that cannot be compared; the children then stay as they were.
void sortChildren(Result& object, const SortKey& key);

// A deep copy to send: the properties ordered by name and the numbers of the set in ascending order, each
// once.
std::unique_ptr<protocol::Object> toObject(const Result& object);

}  // namespace morvex::tqlquery
