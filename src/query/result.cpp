#include "query/result.h"

#include <list>
#include <set>
#include <utility>
#include <vector>

#include "foundation/errors.h"
#include "query/tql/comparison.h"
#include "query/tql/property_codec.h"

namespace morvex::tqlquery {

PropertyMap byName(const protocol::ListOfProperty& properties) {
  PropertyMap map;
  for (const protocol::Property& property : properties) {
    map.try_emplace(property.name, &property);
  }
  return map;
}

const protocol::Property* findProperty(const protocol::ListOfProperty& properties, std::string_view name) {
  for (const protocol::Property& property : properties) {
    if (property.name == name) {
      return &property;
    }
  }
  return nullptr;
}

std::string_view getStringProperty(const Result& object, std::string_view name) {
  const protocol::Property* property = findProperty(object.properties, name);
  if (property == nullptr) {
    throw errors::objecterror("Property \"" + std::string(name) + "\" not found in " + object.id);
  }
  std::string_view value;
  tql::decode(*property, tql::kString, value);
  return value;
}

// Sorts pointers, so a comparison that throws loses no child, and in a list, whose sort copes with an
// inconsistent order: a NaN equals every number.
void sortChildren(Result& object, const SortKey& key) {
  const std::list<SortKey> keys{key};
  std::list<protocol::Owned<Result>*> order;
  for (protocol::Owned<Result>& child : object.children) {
    order.push_back(&child);
  }
  order.sort(
      [&keys](const auto* left, const auto* right) { return tql::compareForSort(keys, **left, **right); });
  protocol::ListOfObject sorted;
  sorted.reserve(order.size());
  for (protocol::Owned<Result>* child : order) {
    sorted.push_back(std::move(*child));
  }
  object.children = std::move(sorted);
}

std::unique_ptr<protocol::Object> toObject(const Result& object) {
  auto top = std::make_unique<protocol::Object>();
  std::vector<std::pair<const Result*, protocol::Object*>> pending{{&object, top.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    to->className = from->className;
    to->objectNumber = from->objectNumber;
    const std::set<std::uint32_t> numbers(from->objectSet.begin(), from->objectSet.end());
    to->objectSet.assign(numbers.begin(), numbers.end());
    to->id = from->id;
    to->version = from->version;
    for (const auto& [name, property] : byName(from->properties)) {
      to->properties.push_back(*property);
    }
    for (const protocol::Owned<Result>& child : from->children) {
      pending.emplace_back(child.get(), &to->children.emplace_back().emplace());
    }
  }
  return top;
}

}  // namespace morvex::tqlquery
