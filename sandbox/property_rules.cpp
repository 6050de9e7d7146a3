#include "sandbox/property_rules.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "query/tql/property_codec.h"

namespace morvex::sandbox {
namespace {

using protocol::Property;

std::uint32_t baseOf(const Property& property) { return property.typeWord & tql::kBaseMask; }
bool isNull(const Property& property) { return property.data.as<protocol::NullProp>() != nullptr; }

// Whether the value is of the class that the base type asks for.
bool holdsItsType(const Property& property) {
  const auto& data = property.data;
  switch (baseOf(property)) {
    case tql::kBoolean:
      return data.as<protocol::BooleanProp>() != nullptr;
    case tql::kSignedInteger:
    case tql::kDate:
      return data.as<protocol::SignedIntProp>() != nullptr;
    case tql::kReal:
      return data.as<protocol::RealProp>() != nullptr;
    case tql::kString:
    case tql::kId:
    case tql::kSnmpOid:
      return data.as<protocol::StringProp>() != nullptr;
    case tql::kIdSet:
    case tql::kStringList:
      return data.as<protocol::StringListProp>() != nullptr;
    case tql::kAction:
      return false;
    case tql::kBlob:
      return data.as<protocol::BlobProp>() != nullptr;
    case tql::kGidList:
      return data.as<protocol::UnsignedIntListProp>() != nullptr;
    case tql::kUnsigned64:
      return data.as<protocol::UnsignedInt64Prop>() != nullptr;
    case tql::kSigned64:
      return data.as<protocol::SignedInt64Prop>() != nullptr;
    case tql::kBigNum:
      return data.as<protocol::BigNumProp>() != nullptr;
    case tql::kLob:
      return data.as<protocol::LobProp>() != nullptr;
    default:  // Unsigned Integer, Index, GID and all enumerations
      return data.as<protocol::UnsignedIntProp>() != nullptr;
  }
}

struct Enumeration {
  std::uint32_t type;
  std::uint32_t last;
};

// Reports may combine any of four parts, so that each number up to 15 has a meaning.
constexpr Enumeration kEnumerations[] = {
    {tql::kStatusEnumeration, 13},
    {tql::kReportEnumeration, 15},
    {tql::kNotifyEnumeration, 2},
    {tql::kNodeTypeEnumeration, 4},
};

bool isEnumerator(std::uint32_t type, std::uint32_t value) {
  const auto* const found =
      std::find_if(std::begin(kEnumerations), std::end(kEnumerations),
                   [&](const Enumeration& enumeration) { return enumeration.type == type; });
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
  const std::uint32_t base = baseOf(change);
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
      return std::all_of(ids.begin(), ids.end(), isObject);
    }
    default:
      return true;
  }
}

std::optional<Fault> fault(const Property& change, ErrorCode code, std::string_view what) {
  return Fault{code, "Property \"" + change.name + "\"" + std::string(what)};
}

}  // namespace

std::optional<Fault> faultIn(const Tree& tree, ObjectIndex object, const Property& change) {
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
  if (baseOf(change) != baseOf(*current) || !(isNull(change) || holdsItsType(change))) {
    return fault(change, ErrorCode::illegalType, " is of another type");
  }
  if (isNull(change)) {
    const bool allowed = baseOf(change) == tql::kAction || (current->typeWord & tql::kNullAllowed) != 0;
    return allowed ? std::nullopt : fault(change, ErrorCode::illegalValue, " cannot be null");
  }
  if (!isLegalValue(tree, change)) {
    return fault(change, ErrorCode::illegalValue, " cannot have this value");
  }
  if (change.name == "siblingName" &&
      tree.hasSiblingNamed(object, change.data.as<protocol::StringProp>()->value)) {
    return fault(change, ErrorCode::duplicate, ": another child of the same object has this name");
  }
  return std::nullopt;
}

}  // namespace morvex::sandbox
