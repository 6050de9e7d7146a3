#include "commands/property_types.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <list>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/output.h"
#include "query/object_path.h"
#include "query/tql/property_codec.h"

namespace morvex {

namespace {

using Strings = std::span<const std::string>;
using Gids = std::span<const std::uint32_t>;
using Bytes = std::vector<std::uint8_t>;

// What is known about one type.
struct PropertyType {
  std::uint32_t base;  // a tql::BaseType, or tql::kEnumeration for all enumerations
  const char* name;
  std::string (*valueText)(const protocol::Property& property);
  // Encodes the value of a text under a name and a type word.
  void (*parse)(protocol::Property& property, const std::string& name, std::uint32_t typeWord,
                const std::string& text);
};

// ---- Values to texts ----

std::string booleanText(bool value) { return value ? "true" : "false"; }
std::string unsignedText(std::uint32_t value) { return uintToString(value); }
std::string enumerationText(std::uint32_t value) { return intToString(static_cast<std::int32_t>(value)); }
std::string signedText(std::int32_t value) { return intToString(value); }
std::string dateText(std::int64_t value) { return intToString(static_cast<std::int32_t>(value)); }
std::string realText(double value) { return realToString(value, -1, -1); }
std::string sameText(std::string_view value) { return std::string(value); }
std::string idSetText(Strings value) { return joinEscaped(value, ','); }
std::string blobText(const Bytes& value) { return base64Encode(value); }

template <class List, class ElementText>
std::string joined(List list, std::string_view separator, ElementText elementText) {
  std::string text;
  for (const auto& element : list) {
    if (&element != &list.front()) {
      text += separator;
    }
    text += elementText(element);
  }
  return text;
}

std::string stringListText(Strings value) { return joined(value, ", ", quotedString); }
std::string gidListText(Gids value) { return joined(value, ",", gidToString); }

// ---- Texts to values ----

bool parseBoolean(const std::string& text) {
  const std::string lower = toLower(text);
  return lower == "true" || (lower != "false" && stringToInt(text) != 0);
}

std::list<std::string> parseStrings(const std::string& text) { return splitToList(text, ',', false); }

Bytes parseBlob(const std::string& text) {
  Bytes bytes;
  base64Decode(text, bytes);
  return bytes;
}

std::vector<std::uint32_t> parseGids(const std::string& text) {
  std::vector<std::uint32_t> gids;
  for (const std::string& gid : splitToList(text, ',', false)) {
    gids.push_back(stringToGid(gid));
  }
  return gids;
}

// ---- Between them and a property ----

template <class Value, auto text>
std::string decoded(const protocol::Property& property) {
  Value value{};
  tql::decode(property, property.typeWord, value);
  return text(value);
}

template <auto parse>
void encoded(protocol::Property& property, const std::string& name, std::uint32_t typeWord,
             const std::string& text) {
  tql::encode(property, name, typeWord, parse(text));
}

// An action has no value. An update starts it.
std::string actionText(const protocol::Property&) { return "action"; }

void parseAction(protocol::Property& property, const std::string& name, std::uint32_t,
                 const std::string& text) {
  if (text != "action") {
    throw error::EFatal("Property " + quotedString(name) +
                        " is an action and takes only \"action\", got: " + quotedString(text));
  }
  tql::encodeNull(property, name, tql::kAction);
}

constexpr PropertyType kTypes[] = {
    {tql::kBoolean, "Boolean", decoded<bool, booleanText>, encoded<parseBoolean>},
    {tql::kUnsignedInteger, "Unsigned Integer", decoded<std::uint32_t, unsignedText>, encoded<stringToUint>},
    {tql::kSignedInteger, "Signed Integer", decoded<std::int32_t, signedText>, encoded<stringToInt>},
    {tql::kReal, "Floating Point Number", decoded<double, realText>, encoded<stringToReal>},
    {tql::kDate, "Date", decoded<std::int64_t, dateText>, encoded<stringToInt>},
    {tql::kString, "String", decoded<std::string_view, quotedString>, encoded<sameText>},
    {tql::kId, "Id", decoded<std::string_view, sameText>, encoded<sameText>},
    {tql::kIdSet, "Id Set", decoded<Strings, idSetText>, encoded<parseStrings>},
    {tql::kAction, "Action", actionText, parseAction},
    {tql::kIndex, "Index", decoded<std::uint32_t, unsignedText>, encoded<stringToUint>},
    {tql::kStringList, "String List", decoded<Strings, stringListText>, encoded<parseStrings>},
    {tql::kBlob, "BLOB", decoded<Bytes, blobText>, encoded<parseBlob>},
    {tql::kGid, "GID", decoded<std::uint32_t, gidToString>, encoded<stringToGid>},
    {tql::kGidList, "GID List", decoded<Gids, gidListText>, encoded<parseGids>},
    {tql::kSnmpOid, "SNMP OID", decoded<std::string_view, sameText>, encoded<sameText>},
    {tql::kEnumeration, "Enumeration", decoded<std::uint32_t, enumerationText>, encoded<stringToUint>},
};

// The type of a type word; null for one without texts.
const PropertyType* findType(std::uint32_t typeWord) {
  const std::uint32_t base =
      (typeWord & tql::kEnumeration) != 0 ? tql::kEnumeration : typeWord & tql::kBaseMask;
  const auto* found = std::ranges::find(kTypes, base, &PropertyType::base);
  return found == std::end(kTypes) ? nullptr : found;
}

struct Flag {
  std::uint32_t bit;
  const char* before;
  const char* behind;
};

// Only the first that is set is named.
constexpr Flag kFlags[] = {
    {tql::kConst, "Const ", ""},
    {tql::kNullAllowed, "", ", NULL allowed"},
    {tql::kComputed, "", ", Computed"},
    {tql::kReadOnly, "", ", Read Only"},
    {tql::kPrimaryKey, "", ", Primary Key"},
};

std::string typeWordText(const protocol::Property& property) {
  return intToString(static_cast<std::int32_t>(property.typeWord));
}

}  // namespace

std::string propertyText(const protocol::Property& property) {
  if (property.data.as<protocol::NullProp>() != nullptr) {
    return "(NULL)";
  }
  const PropertyType* type = findType(property.typeWord);
  return type != nullptr ? type->valueText(property) : "(Unknown type)" + typeWordText(property);
}

std::string propertyTypeText(const protocol::Property& property) {
  const PropertyType* type = findType(property.typeWord);
  const std::string name = type != nullptr ? type->name : "(Unknown type: " + typeWordText(property) + ")";
  for (const Flag& flag : kFlags) {
    if ((property.typeWord & flag.bit) != 0) {
      return flag.before + name + flag.behind;
    }
  }
  return name;
}

bool parsePropertyValue(const protocol::Property& current, protocol::Property& changed,
                        const std::string& text) {
  if (text == "null" || text == "NULL") {
    tql::encodeNull(changed, current.name, current.typeWord);
  } else if (text == "inherited" || text == "INHERITED") {
    tql::encodeNull(changed, current.name, current.typeWord | tql::kInherited);
  } else if (const PropertyType* type = findType(current.typeWord); type != nullptr) {
    type->parse(changed, current.name, current.typeWord, text);
  } else {
    standardOutput().write("Error unknown type" + uintToString(current.typeWord & tql::kBaseMask));
    standardOutput().endLine();
    return false;
  }
  return propertyText(changed) != propertyText(current);
}

}  // namespace morvex
