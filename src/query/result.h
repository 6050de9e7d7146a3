#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "protocol/messages/object_tree.h"

namespace tqlquery {

using PropertyMap = std::map<std::string, protocol::Property>;

// What children are sorted by.
struct SortKey {
  std::string name;  // of a property
  bool ascending = true;
};

// One object of an answer, and those below it. The tree mirrors the query: an object at depth n was matched
// by step n.
struct Result {
  Result() = default;
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  ~Result();

  // Takes the contents of an object, with all below it, by moving.
  static std::unique_ptr<Result> take(protocol::Object& object);

  // The value of a property of type String. Throws errors::objecterror if the object lacks it, errors::tql if
  // it is null or of another type.
  std::string getStringProperty(const std::string& name) const;

  // Sorts the children by a property, stably. In ascending order those that lack it come first. Throws
  // errors::tql_incomparable for values that cannot be compared.
  void sortChildren(const SortKey& key);

  // A deep copy in message form, with the properties in the order of their names.
  std::unique_ptr<protocol::Object> toObject() const;

  std::string className;  // "Domain", "Node", "Check", ...
  std::uint32_t objectNumber = 0;
  std::set<std::uint32_t> objectSet;
  std::string id;
  std::string version;     // what an update has to quote
  PropertyMap properties;  // of two with one name, the first
  std::list<std::unique_ptr<Result>> children;
};

// Inserts the properties of a message by name, moving them; a name that is there already keeps its value.
void takeProperties(PropertyMap& properties, protocol::ListOfProperty& from);

}  // namespace tqlquery
