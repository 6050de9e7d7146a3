#include "query/result.h"

#include <utility>
#include <vector>

#include "foundation/errors.h"
#include "query/tql/comparison.h"
#include "query/tql/property_codec.h"

namespace tqlquery {

// The objects below a child join the list before the child goes, so that no destructor runs inside another.
Result::~Result() {
  while (!children.empty()) {
    children.splice(children.end(), children.front()->children);
    children.pop_front();
  }
}

std::unique_ptr<Result> Result::take(protocol::Object& object) {
  auto top = std::make_unique<Result>();
  std::vector<std::pair<protocol::Object*, Result*>> pending{{&object, top.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    to->className = std::move(from->className);
    to->objectNumber = from->objectNumber;
    to->objectSet.insert(from->objectSet.begin(), from->objectSet.end());
    to->id = std::move(from->id);
    to->version = std::move(from->version);
    takeProperties(to->properties, from->properties);
    for (protocol::Owned<protocol::Object>& child : from->children) {
      to->children.push_back(std::make_unique<Result>());
      pending.emplace_back(child.get(), to->children.back().get());
    }
  }
  return top;
}

std::string Result::getStringProperty(const std::string& name) const {
  const auto found = properties.find(name);
  if (found == properties.end()) {
    throw errors::objecterror("Property \"" + name + "\" not found in " + id);
  }
  std::string value;
  tql::decode(found->second, tql::kString, value);
  return value;
}

void Result::sortChildren(const SortKey& key) {
  const std::list<SortKey> keys{key};
  children.sort([&keys](const std::unique_ptr<Result>& left, const std::unique_ptr<Result>& right) {
    return tql::compareForSort(keys, *left, *right);
  });
}

std::unique_ptr<protocol::Object> Result::toObject() const {
  auto top = std::make_unique<protocol::Object>();
  std::vector<std::pair<const Result*, protocol::Object*>> pending{{this, top.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    to->className = from->className;
    to->objectNumber = from->objectNumber;
    to->objectSet.assign(from->objectSet.begin(), from->objectSet.end());
    to->id = from->id;
    to->version = from->version;
    for (const auto& [name, property] : from->properties) {
      to->properties.push_back(property);
    }
    for (const std::unique_ptr<Result>& child : from->children) {
      pending.emplace_back(child.get(), &to->children.emplace_back().emplace());
    }
  }
  return top;
}

void takeProperties(PropertyMap& properties, protocol::ListOfProperty& from) {
  for (protocol::Property& property : from) {
    properties.try_emplace(property.name, std::move(property));  // copies the key before it moves the rest
  }
}

}  // namespace tqlquery
