#include "query/tql/property_codec.h"

#include <memory>
#include <string_view>
#include <utility>

#include "foundation/assertion.h"
#include "foundation/errors.h"
#include "foundation/text.h"

namespace morvex::tql {
namespace {

// Whether a type word is of one of these base types. kEnumeration stands for all enumerations.
template <std::uint32_t... kTypes>
constexpr bool isOf(std::uint32_t typeWord) {
  const std::uint32_t base = typeWord & kBaseMask;
  return ((kTypes == kEnumeration ? (base & kEnumeration) != 0 : base == kTypes) || ...);
}

// Between a record's value and the caller's: as it is, or element by element.
template <class To, class From>
void store(To& to, From&& from) {
  if constexpr (requires { to = std::forward<From>(from); }) {
    to = std::forward<From>(from);
  } else {
    to.assign(from.begin(), from.end());
  }
}

// The new value is complete before the old one goes.
template <class Prop, class... Value>
void replace(Property& property, const std::string& name, std::uint32_t typeWord, Value&&... value) {
  auto made = std::make_unique<Prop>();
  (store(made->value, std::forward<Value>(value)), ...);
  property.name = name;
  property.typeWord = typeWord;
  property.data = std::unique_ptr<protocol::Record>(std::move(made));
}

// Stores a value as a Prop. type names the overload in the report of a type word that it does not serve.
template <class Prop, std::uint32_t... kTypes, class Value>
void put(Property& property, const std::string& name, std::uint32_t typeWord, const char* type,
         Value&& value) {
  if (!isOf<kTypes...>(typeWord)) {
    assertionFailed(std::string("Type mismatch in tql::encode ").append(type) + ": " + name);
  }
  replace<Prop>(property, name, typeWord, std::forward<Value>(value));
}

template <std::uint32_t... kTypes>
void checkWanted(std::uint32_t wanted, const char* type, const std::string& name = {}) {
  if (!isOf<kTypes...>(wanted)) {
    assertionFailed(std::string("Type mismatch in tql::decode ").append(type) + name);
  }
}

// Reads the value of a Prop. kind names it in the message about a null.
template <class Prop, class Result>
void get(const Property& property, std::uint32_t wanted, const char* kind, Result& result) {
  const std::uint32_t wantedBase = wanted & kBaseMask;
  const std::uint32_t base = property.typeWord & kBaseMask;
  if (wantedBase != base) {
    std::string text = "Type mismatch for property: " + property.name;
    if (wantedBase != kBoolean) {
      text += ", wanted " + uintToString(wantedBase) + " got " + uintToString(base);
    }
    throw errors::tql(std::move(text), ErrorCode::illegalType);
  }
  const Prop* held = property.data.as<Prop>();
  if (held == nullptr) {
    throw errors::tql(std::string("Null given for ") + kind + " property: " + property.name,
                      ErrorCode::illegalType);
  }
  store(result, held->value);
}

}  // namespace

void encodeNull(Property& property, const std::string& name, std::uint32_t typeWord) {
  replace<protocol::NullProp>(property, name, typeWord);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, bool value) {
  put<protocol::BooleanProp, kBoolean>(property, name, typeWord, "bool", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, double value) {
  put<protocol::RealProp, kReal>(property, name, typeWord, "double", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::int32_t value) {
  put<protocol::SignedIntProp, kSignedInteger, kDate>(property, name, typeWord, "int", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::uint32_t value) {
  put<protocol::UnsignedIntProp, kUnsignedInteger, kIndex, kGid, kEnumeration>(property, name, typeWord,
                                                                               "unsigned int", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::string value) {
  put<protocol::StringProp, kString, kId, kSnmpOid>(property, name, typeWord, "string", std::move(value));
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::list<std::string>& value) {
  put<protocol::StringListProp, kIdSet, kStringList>(property, name, typeWord, "list<string>", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint32_t>& value) {
  put<protocol::UnsignedIntListProp, kGidList>(property, name, typeWord, "vector<uint32_t>", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, const BigNum& value) {
  put<protocol::BigNumProp, kBigNum>(property, name, typeWord, "bignum", value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint8_t>& value) {
  if (isOf<kLob>(typeWord)) {
    replace<protocol::LobProp>(property, name, typeWord, value);
  } else {
    put<protocol::BlobProp, kBlob>(property, name, typeWord, "vector<uint8_t>", value);
  }
}

void decode(const Property& property, std::uint32_t wanted, bool& result) {
  checkWanted<kBoolean>(wanted, "bool");
  get<protocol::BooleanProp>(property, wanted, "boolean", result);
}

void decode(const Property& property, std::uint32_t wanted, double& result) {
  checkWanted<kReal>(wanted, "real");
  get<protocol::RealProp>(property, wanted, "real", result);
}

void decode(const Property& property, std::uint32_t wanted, std::int32_t& result) {
  checkWanted<kSignedInteger>(wanted, "int :", property.name);
  get<protocol::SignedIntProp>(property, wanted, "integer", result);
}

void decode(const Property& property, std::uint32_t wanted, std::uint32_t& result) {
  checkWanted<kUnsignedInteger, kIndex, kGid, kEnumeration>(wanted, "uint/enum/index");
  get<protocol::UnsignedIntProp>(property, wanted, "unsigned", result);
}

void decode(const Property& property, std::uint32_t wanted, std::string_view& result) {
  checkWanted<kString, kId, kSnmpOid>(wanted, "string/object");
  get<protocol::StringProp>(property, wanted, "string", result);
}

void decode(const Property& property, std::uint32_t wanted, std::int64_t& result) {
  checkWanted<kDate, kSigned64>(wanted, "int64 :", property.name);
  if (isOf<kDate>(wanted)) {
    get<protocol::SignedIntProp>(property, wanted, "time", result);
  } else {
    get<protocol::SignedInt64Prop>(property, wanted, "integer", result);
  }
}

void decode(const Property& property, std::uint32_t wanted, std::uint64_t& result) {
  checkWanted<kUnsigned64>(wanted, "uint64 :", property.name);
  get<protocol::UnsignedInt64Prop>(property, wanted, "integer", result);
}

void decode(const Property& property, std::uint32_t wanted, std::span<const std::string>& result) {
  checkWanted<kIdSet, kStringList>(wanted, "objectset");
  get<protocol::StringListProp>(property, wanted, "slist", result);
}

void decode(const Property& property, std::uint32_t wanted, std::vector<std::uint8_t>& result) {
  checkWanted<kBlob, kLob>(wanted, "vector<uint8_t>");
  if (isOf<kBlob>(wanted)) {
    get<protocol::BlobProp>(property, wanted, "blob", result);
  } else {
    get<protocol::LobProp>(property, wanted, "lob", result);
  }
}

void decode(const Property& property, std::uint32_t wanted, std::span<const std::uint32_t>& result) {
  checkWanted<kGidList>(wanted, "list<uint32_t>");
  get<protocol::UnsignedIntListProp>(property, wanted, "unsigned int list", result);
}

}  // namespace morvex::tql
