#include "commands/property_types.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <span>
#include <string_view>
#include <vector>

#include "commands/object_path.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "query/tql/property_codec.h"

namespace morvex {

namespace {

using Strings = std::span<const std::string>;
using Gids = std::span<const std::uint32_t>;
using Bytes = std::vector<std::uint8_t>;

// ---- Values to texts ----

std::string booleanText(bool value) { return value ? "true" : "false"; }
std::string unsignedText(std::uint32_t value) { return uintToString(value); }
std::string enumerationText(std::uint32_t value) { return intToString(static_cast<std::int32_t>(value)); }
std::string signedText(std::int32_t value) { return intToString(value); }
std::string dateText(std::int64_t value) { return intToString(static_cast<std::int32_t>(value)); }
std::string realText(double value) { return realToString(value, -1, -1); }
std::string plainText(std::string_view value) { return std::string(value); }
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

// An action has no value: it is there to be started.
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
    {tql::kString, "String", decoded<std::string_view, quotedString>, encoded<plainText>},
    {tql::kId, "Id", decoded<std::string_view, plainText>, encoded<plainText>},
    {tql::kIdSet, "Id Set", decoded<Strings, idSetText>, encoded<parseStrings>},
    {tql::kAction, "Action", actionText, parseAction},
    {tql::kIndex, "Index", decoded<std::uint32_t, unsignedText>, encoded<stringToUint>},
    {tql::kStringList, "String List", decoded<Strings, stringListText>, encoded<parseStrings>},
    {tql::kBlob, "BLOB", decoded<Bytes, blobText>, encoded<parseBlob>},
    {tql::kGid, "GID", decoded<std::uint32_t, gidToString>, encoded<stringToGid>},
    {tql::kGidList, "GID List", decoded<Gids, gidListText>, encoded<parseGids>},
    {tql::kSnmpOid, "SNMP OID", decoded<std::string_view, plainText>, encoded<plainText>},
    {tql::kEnumeration, "Enumeration", decoded<std::uint32_t, enumerationText>, encoded<stringToUint>},
};

}  // namespace

const PropertyType* findPropertyType(std::uint32_t typeWord) {
  const std::uint32_t base =
      (typeWord & tql::kEnumeration) != 0 ? tql::kEnumeration : typeWord & tql::kBaseMask;
  const auto* found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                   [base](const PropertyType& type) { return type.base == base; });
  return found == std::end(kTypes) ? nullptr : found;
}

}  // namespace morvex
