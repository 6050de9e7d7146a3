#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "protocol/messages/object_tree.h"

namespace morvex::tqlquery {

// One object of an answer, and those below it, as the message brought them. The tree mirrors the query: an
// object at depth n was matched by step n. It owns its children, which nest as deep as the server likes. It
// has the properties that the query asked for, and those that every object brings are members: className, id,
// version. Of two properties with one name the first counts.
using Result = protocol::Object;

// Properties by their names. It points into the list that it is made of.
using PropertyMap = std::map<std::string_view, const protocol::Property*>;
PropertyMap byName(const protocol::ListOfProperty& properties);

// One property, for who wants no more than a few of them; null if there is none of that name.
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

// A deep copy to be sent, with the properties in the order of their names and the numbers of the set in
// theirs, each once.
std::unique_ptr<protocol::Object> toObject(const Result& object);

}  // namespace morvex::tqlquery
