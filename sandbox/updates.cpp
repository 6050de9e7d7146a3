#include "sandbox/updates.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "query/tql/property_codec.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

using protocol::Property;

// Why a change of a property cannot be made. The text names the property.
struct Fault {
  ErrorCode code;
  std::string text;
};

template <class Prop>
bool holdsA(const Property& property) {
  return property.data.as<Prop>() != nullptr;
}

bool holdsNone(const Property&) { return false; }

// Whether a value is of the class that its base type asks for, in the order of tql::BaseType. An Action takes
// no value.
constexpr bool (*kHoldsItsType[])(const Property&) = {holdsA<protocol::BooleanProp>,
                                                      holdsA<protocol::UnsignedIntProp>,
                                                      holdsA<protocol::SignedIntProp>,
                                                      holdsA<protocol::RealProp>,
                                                      holdsA<protocol::SignedIntProp>,
                                                      holdsA<protocol::StringProp>,
                                                      holdsA<protocol::StringProp>,
                                                      holdsA<protocol::StringListProp>,
                                                      holdsNone,
                                                      holdsA<protocol::UnsignedIntProp>,
                                                      holdsA<protocol::StringListProp>,
                                                      holdsA<protocol::BlobProp>,
                                                      holdsA<protocol::UnsignedIntProp>,
                                                      holdsA<protocol::UnsignedIntListProp>,
                                                      holdsA<protocol::StringProp>,
                                                      holdsA<protocol::UnsignedInt64Prop>,
                                                      holdsA<protocol::SignedInt64Prop>,
                                                      holdsA<protocol::BigNumProp>,
                                                      holdsA<protocol::LobProp>};

bool holdsItsType(const Property& property) {
  const std::uint32_t base = tql::baseOf(property);
  return (base & tql::kEnumeration) != 0 ? holdsA<protocol::UnsignedIntProp>(property)
                                         : kHoldsItsType[base - tql::kBoolean](property);
}

// The values from 0 to last are legal. Reports combine any of four parts, so each number up to 15 has a
// meaning.
struct Enumeration {
  std::uint32_t type;
  std::uint32_t last;
};
constexpr Enumeration kEnumerations[] = {
    {tql::kStatusEnumeration, 13},
    {tql::kReportEnumeration, 15},
    {tql::kNotifyEnumeration, 2},
    {tql::kNodeTypeEnumeration, 4},
};

bool isEnumerator(std::uint32_t type, std::uint32_t value) {
  const auto* const found = std::ranges::find(kEnumerations, type, &Enumeration::type);
  return found == std::end(kEnumerations) || value <= found->last;
}

bool isOid(std::string_view text) {
  bool digitAhead = false;
  for (const char c : text) {
    const bool digit = c >= '0' && c <= '9';
    if (!digit && (c != '.' || !digitAhead)) {
      return false;
    }
    digitAhead = digit;
  }
  return digitAhead;
}

bool isLegalReal(const Property& change) {
  const double value = change.data.as<protocol::RealProp>()->value;
  return std::isfinite(value) && (change.name != "threshold" || (value >= 0 && value <= 1));
}

// For a change that is of its type and not null.
bool isLegalValue(const Tree& tree, const Property& change) {
  const std::uint32_t base = tql::baseOf(change);
  const auto isObject = [&](const std::string& id) { return tree.find(id).has_value(); };
  if ((base & tql::kEnumeration) != 0) {
    return isEnumerator(base, change.data.as<protocol::UnsignedIntProp>()->value);
  }
  switch (base) {
    case tql::kReal:
      return isLegalReal(change);
    case tql::kString:
      return change.name != "siblingName" || !change.data.as<protocol::StringProp>()->value.empty();
    case tql::kSnmpOid:
      return isOid(change.data.as<protocol::StringProp>()->value);
    case tql::kId:
      return isObject(change.data.as<protocol::StringProp>()->value);
    case tql::kIdSet: {
      const auto& ids = change.data.as<protocol::StringListProp>()->value;
      return std::ranges::all_of(ids, isObject);
    }
    default:
      return true;
  }
}

std::optional<Fault> fault(const Property& change, ErrorCode code, std::string_view what) {
  return Fault{code, "Property \"" + change.name + "\"" + std::string(what)};
}

// The names that are taken beside an object. An update may ask for many names, so they are collected once.
class TakenNames {
 public:
  TakenNames(const Tree& tree, ObjectIndex object) : tree_(tree), object_(object) {}

  bool has(const std::string& name) {
    if (!names_) {
      names_ = tree_.siblingNames(object_);
    }
    return names_->contains(name);
  }

 private:
  const Tree& tree_;
  ObjectIndex object_;
  std::optional<std::unordered_set<std::string>> names_;
};

// What speaks against giving a property of an object the value in change; empty if nothing does.
std::optional<Fault> faultIn(const Tree& tree, ObjectIndex object, TakenNames& taken,
                             const Property& change) {
  Property scratch;
  const Property* const current = tree.property(object, change.name, scratch);
  if (current == nullptr) {
    return fault(change, ErrorCode::unknownProperty, " does not exist");
  }
  if ((current->typeWord & (tql::kConst | tql::kPrimaryKey)) != 0) {
    return fault(change, ErrorCode::constProperty, " is constant");
  }
  if ((current->typeWord & (tql::kReadOnly | tql::kComputed)) != 0) {
    return fault(change, ErrorCode::accessDenied, " is read-only");
  }
  if (tql::baseOf(change) != tql::baseOf(*current) || !(tql::isNull(change) || holdsItsType(change))) {
    return fault(change, ErrorCode::illegalType, " is of another type");
  }
  if (tql::isNull(change)) {
    const bool allowed = tql::baseOf(change) == tql::kAction || (current->typeWord & tql::kNullAllowed) != 0;
    return allowed ? std::nullopt : fault(change, ErrorCode::illegalValue, " cannot be null");
  }
  if (!isLegalValue(tree, change)) {
    return fault(change, ErrorCode::illegalValue, " cannot have this value");
  }
  if (change.name == "siblingName" && taken.has(change.data.as<protocol::StringProp>()->value)) {
    return fault(change, ErrorCode::duplicate, ": another child of the same object has this name");
  }
  return std::nullopt;
}

void checkVersion(Tree& tree, Activity& activity, std::uint32_t& conflictsLeft, ObjectIndex object,
                  const std::string& version) {
  const bool stale = version != tree.version(object);
  if (!stale && conflictsLeft == 0) {
    return;
  }
  if (!stale) {
    --conflictsLeft;
    tree.touch(object);
  }
  ++activity.conflicts;
  throw Refusal(ErrorCode::conflict);
}

// Of the flags, a client sets only whether a null is inherited.
void make(Tree& tree, Activity& activity, ObjectIndex object, protocol::Property& change) {
  if (tql::baseOf(change) == tql::kAction) {
    ++activity.actions;
    return;
  }
  protocol::Property& property = tree.edit(object, change.name);
  property.typeWord &= ~tql::kInherited;
  if (tql::isNull(change)) {
    property.typeWord |= change.typeWord & tql::kInherited;
  }
  property.data = std::move(change.data);
}

}  // namespace

std::string applyUpdate(Tree& tree, Activity& activity, std::uint32_t& conflictsLeft,
                        protocol::UpdateReq& request) {
  const ObjectIndex object = tree.indexOf(request.id);
  checkVersion(tree, activity, conflictsLeft, object, request.version);
  std::optional<ErrorCode> first;
  std::vector<std::string> texts;
  TakenNames taken(tree, object);
  for (const auto& change : request.properties) {
    if (std::optional<Fault> fault = faultIn(tree, object, taken, change)) {
      first = first.value_or(fault->code);
      texts.push_back(std::move(fault->text));
    }
  }
  if (first) {
    throw Refusal(*first, std::move(texts));
  }
  for (auto& property : request.properties) {
    make(tree, activity, object, property);
  }
  if (!request.properties.empty()) {
    tree.touch(object);
  }
  ++activity.updates;
  return tree.version(object);
}

}  // namespace morvex::sandbox
