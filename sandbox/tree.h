#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "protocol/messages/object_tree.h"
#include "sandbox/series.h"

namespace morvex::sandbox {

// Where an object stands in the tree. Its id is this number plus one, in hexadecimal.
using ObjectIndex = std::uint32_t;

inline constexpr ObjectIndex kNoObject = 0xFFFFFFFF;

enum class ObjectClass : std::uint8_t { domain, node, checkGroup, check, checkAccumulation, domainExport };

const std::string& classNameOf(ObjectClass objectClass);

using PropertyList = std::vector<protocol::Property>;

// The objects that the server holds. Children stand in the order in which they were added. Most objects of a
// large tree are generated: these have a number instead of stored properties, until one is changed.
class Tree {
 public:
  struct Object {
    ObjectClass objectClass;
    std::uint32_t changes = 0;  // how often it has been updated
    ObjectIndex parent = kNoObject;
    ObjectIndex firstChild = kNoObject;
    ObjectIndex lastChild = kNoObject;
    ObjectIndex nextSibling = kNoObject;
    std::uint32_t number = 0;  // of a generated object
    bool generated = false;
    SeriesPlan series;
  };

  static constexpr ObjectIndex kRoot = 0;

  Tree();

  // parent is kNoObject for the root, which comes first.
  ObjectIndex add(ObjectIndex parent, ObjectClass objectClass, PropertyList properties,
                  SeriesPlan series = {});
  ObjectIndex addGenerated(ObjectIndex parent, ObjectClass objectClass, std::uint32_t number,
                           SeriesPlan series = {});

  const Object& operator[](ObjectIndex index) const { return objects_[index]; }
  std::size_t size() const { return objects_.size(); }

  std::optional<ObjectIndex> find(std::string_view id) const;
  // Throws Refusal for an id that no object has.
  ObjectIndex indexOf(const std::string& id) const;
  std::string id(ObjectIndex index) const;
  std::string version(ObjectIndex index) const;

  // A property of an object, null if it has none of this name. Every object has "id". scratch holds a value
  // that is not stored; the result is valid until scratch changes.
  const protocol::Property* property(ObjectIndex index, std::string_view name,
                                     protocol::Property& scratch) const;

  // The names of an object's properties except the id, in a fixed order.
  std::vector<std::string_view> propertyNames(ObjectIndex index) const;

  // The names of the other children of the same object.
  std::unordered_set<std::string> siblingNames(ObjectIndex index) const;

  // The name as long as the tree lasts, if any object has a property of this name other than the id.
  std::optional<std::string_view> propertyNamed(std::string_view name) const;

  // A property that the object has, other than the id, to be changed in place.
  protocol::Property& edit(ObjectIndex index, std::string_view name);

  // Gives the object a new version.
  void touch(ObjectIndex index) { ++objects_[index].changes; }

 private:
  ObjectIndex link(ObjectIndex parent, Object object);

  std::vector<Object> objects_;
  std::map<ObjectIndex, PropertyList> stored_;
  std::set<std::string, std::less<>> names_;  // of all properties that are stored or generated
};

}  // namespace morvex::sandbox
