#include "sandbox/tree.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "foundation/text.h"
#include "protocol/facts.h"
#include "query/tql/property_codec.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

using protocol::Property;

constexpr std::string_view kGeneratedNames[] = {"siblingName", "longLabel", "active", "number"};

std::string upperHex(std::uint32_t value) {
  std::string digits = hexToString(value, 1);
  std::ranges::transform(digits, digits.begin(),
                         [](char c) { return c >= 'a' ? static_cast<char>(c - 'a' + 'A') : c; });
  return digits;
}

// "node000042", "block000042"
std::string generatedName(const Tree::Object& object) {
  constexpr std::size_t kDigits = 6;
  const std::string digits = std::to_string(object.number);
  return (object.objectClass == ObjectClass::node ? "node" : "block") +
         std::string(kDigits - std::min(kDigits, digits.size()), '0') + digits;
}

const Property* generatedProperty(const Tree::Object& object, std::string_view name, Property& scratch) {
  if (name == "siblingName") {
    tql::encode(scratch, "siblingName", tql::kString, generatedName(object));
  } else if (name == "longLabel") {
    tql::encode(scratch, "longLabel", tql::kString,
                classNameOf(object.objectClass) + " No. " + std::to_string(object.number));
  } else if (name == "active") {
    tql::encode(scratch, "active", tql::kBoolean, object.number % 10 != 0);
  } else if (name == "number") {
    tql::encode(scratch, "number", tql::kUnsignedInteger | tql::kConst, object.number);
  } else {
    return nullptr;
  }
  return &scratch;
}

}  // namespace

const std::string& classNameOf(ObjectClass objectClass) {
  using namespace protocol::object_class;
  static const std::string kNames[] = {kDomain,      kNode, kCheckGroup, kCheck, kCheckAccumulation,
                                       kDomainExport};
  return kNames[static_cast<std::size_t>(objectClass)];
}

Tree::Tree() : names_(std::begin(kGeneratedNames), std::end(kGeneratedNames)) {}

ObjectIndex Tree::add(ObjectIndex parent, ObjectClass objectClass, PropertyList properties,
                      SeriesPlan series) {
  const ObjectIndex index = link(parent, {.objectClass = objectClass, .parent = parent, .series = series});
  for (const Property& property : properties) {
    names_.insert(property.name);
  }
  stored_.emplace(index, std::move(properties));
  return index;
}

ObjectIndex Tree::addGenerated(ObjectIndex parent, ObjectClass objectClass, std::uint32_t number,
                               SeriesPlan series) {
  return link(
      parent,
      {.objectClass = objectClass, .parent = parent, .number = number, .generated = true, .series = series});
}

ObjectIndex Tree::link(ObjectIndex parent, Object object) {
  const auto index = static_cast<ObjectIndex>(objects_.size());
  objects_.push_back(object);
  if (parent != kNoObject) {
    Object& above = objects_[parent];
    (above.lastChild == kNoObject ? above.firstChild : objects_[above.lastChild].nextSibling) = index;
    above.lastChild = index;
  }
  return index;
}

// Only the text that id() gives names an object.
std::optional<ObjectIndex> Tree::find(std::string_view id) const {
  std::uint32_t number = 0;
  std::from_chars(id.data(), id.data() + id.size(), number, 16);
  if (number == 0 || number > objects_.size() || upperHex(number) != id) {
    return std::nullopt;
  }
  return number - 1;
}

ObjectIndex Tree::indexOf(const std::string& id) const {
  const auto index = find(id);
  if (!index) {
    throw Refusal(ErrorCode::unknownId, "No object has the id \"" + id + "\"");
  }
  return *index;
}

std::string Tree::id(ObjectIndex index) const { return upperHex(index + 1); }

std::string Tree::version(ObjectIndex index) const {
  return id(index) + "-" + std::to_string(objects_[index].changes + 1);
}

const Property* Tree::property(ObjectIndex index, std::string_view name, Property& scratch) const {
  if (name == "id") {
    tql::encode(scratch, "id", tql::kId | tql::kConst | tql::kPrimaryKey, id(index));
    return &scratch;
  }
  if (objects_[index].generated) {
    return generatedProperty(objects_[index], name, scratch);
  }
  const PropertyList& list = stored_.find(index)->second;
  const auto found = std::ranges::find(list, name, &Property::name);
  return found == list.end() ? nullptr : &*found;
}

std::vector<std::string_view> Tree::propertyNames(ObjectIndex index) const {
  if (objects_[index].generated) {
    return {std::begin(kGeneratedNames), std::end(kGeneratedNames)};
  }
  std::vector<std::string_view> names;
  for (const Property& property : stored_.find(index)->second) {
    names.push_back(property.name);
  }
  return names;
}

std::unordered_set<std::string> Tree::siblingNames(ObjectIndex index) const {
  std::unordered_set<std::string> names;
  if (objects_[index].parent == kNoObject) {
    return names;
  }
  Property scratch;
  for (ObjectIndex child = objects_[objects_[index].parent].firstChild; child != kNoObject;
       child = objects_[child].nextSibling) {
    const Property* const name = property(child, "siblingName", scratch);
    if (child != index && name != nullptr) {
      names.insert(name->data.as<protocol::StringProp>()->value);
    }
  }
  return names;
}

std::optional<std::string_view> Tree::propertyNamed(std::string_view name) const {
  const auto found = names_.find(name);
  return found == names_.end() ? std::nullopt : std::optional<std::string_view>(*found);
}

Property& Tree::edit(ObjectIndex index, std::string_view name) {
  Object& object = objects_[index];
  PropertyList& list = stored_[index];
  if (object.generated) {
    for (const std::string_view generated : kGeneratedNames) {
      generatedProperty(object, generated, list.emplace_back());
    }
    object.generated = false;
  }
  return *std::ranges::find(list, name, &Property::name);
}

}  // namespace morvex::sandbox
