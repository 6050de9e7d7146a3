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
  property.data = std::unique_ptr<protocol::BerValue>(std::move(made));
}

template <std::uint32_t... kTypes>
void checkEncode(std::string_view type, std::uint32_t typeWord, const std::string& name) {
  if (!isOf<kTypes...>(typeWord)) {
    assertionFailed(std::string("Type mismatch in tql::encode ").append(type) + ": " + name);
  }
}

template <std::uint32_t... kTypes>
void checkDecode(std::string_view type, std::uint32_t wanted, const std::string& name = {}) {
  if (!isOf<kTypes...>(wanted)) {
    assertionFailed(std::string("Type mismatch in tql::decode ").append(type) + name);
  }
}

// Reads the value of a Prop; kind names it in the message about a null.
template <class Prop, class Result>
void read(const Property& property, std::uint32_t wanted, const char* kind, Result& result) {
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
  checkEncode<kBoolean>("bool", typeWord, name);
  replace<protocol::BooleanProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, double value) {
  checkEncode<kReal>("double", typeWord, name);
  replace<protocol::RealProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::int32_t value) {
  checkEncode<kSignedInteger, kDate>("int", typeWord, name);
  replace<protocol::SignedIntProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::uint32_t value) {
  checkEncode<kUnsignedInteger, kIndex, kGid, kEnumeration>("unsigned int", typeWord, name);
  replace<protocol::UnsignedIntProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::string value) {
  checkEncode<kString, kId, kSnmpOid>("string", typeWord, name);
  replace<protocol::StringProp>(property, name, typeWord, std::move(value));
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::list<std::string>& value) {
  checkEncode<kIdSet, kStringList>("list<string>", typeWord, name);
  replace<protocol::StringListProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint32_t>& value) {
  checkEncode<kGidList>("vector<uint32_t>", typeWord, name);
  replace<protocol::UnsignedIntListProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord, const BigNum& value) {
  checkEncode<kBigNum>("bignum", typeWord, name);
  replace<protocol::BigNumProp>(property, name, typeWord, value);
}

void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint8_t>& value) {
  checkEncode<kBlob, kLob>("vector<uint8_t>", typeWord, name);
  if (isOf<kBlob>(typeWord)) {
    replace<protocol::BlobProp>(property, name, typeWord, value);
  } else {
    replace<protocol::LobProp>(property, name, typeWord, value);
  }
}

void decode(const Property& property, std::uint32_t wanted, bool& result) {
  checkDecode<kBoolean>("bool", wanted);
  read<protocol::BooleanProp>(property, wanted, "boolean", result);
}

void decode(const Property& property, std::uint32_t wanted, double& result) {
  checkDecode<kReal>("real", wanted);
  read<protocol::RealProp>(property, wanted, "real", result);
}

void decode(const Property& property, std::uint32_t wanted, std::int32_t& result) {
  checkDecode<kSignedInteger>("int :", wanted, property.name);
  read<protocol::SignedIntProp>(property, wanted, "integer", result);
}

void decode(const Property& property, std::uint32_t wanted, std::uint32_t& result) {
  checkDecode<kUnsignedInteger, kIndex, kGid, kEnumeration>("uint/enum/index", wanted);
  read<protocol::UnsignedIntProp>(property, wanted, "unsigned", result);
}

void decode(const Property& property, std::uint32_t wanted, std::string_view& result) {
  checkDecode<kString, kId, kSnmpOid>("string/object", wanted);
  read<protocol::StringProp>(property, wanted, "string", result);
}

void decode(const Property& property, std::uint32_t wanted, std::int64_t& result) {
  checkDecode<kDate, kSigned64>("int64 :", wanted, property.name);
  if (isOf<kDate>(wanted)) {
    read<protocol::SignedIntProp>(property, wanted, "time", result);
  } else {
    read<protocol::SignedInt64Prop>(property, wanted, "integer", result);
  }
}

void decode(const Property& property, std::uint32_t wanted, std::uint64_t& result) {
  checkDecode<kUnsigned64>("uint64 :", wanted, property.name);
  read<protocol::UnsignedInt64Prop>(property, wanted, "integer", result);
}

void decode(const Property& property, std::uint32_t wanted, std::span<const std::string>& result) {
  checkDecode<kIdSet, kStringList>("objectset", wanted);
  read<protocol::StringListProp>(property, wanted, "slist", result);
}

void decode(const Property& property, std::uint32_t wanted, std::vector<std::uint8_t>& result) {
  checkDecode<kBlob, kLob>("vector<uint8_t>", wanted);
  if (isOf<kBlob>(wanted)) {
    read<protocol::BlobProp>(property, wanted, "blob", result);
  } else {
    read<protocol::LobProp>(property, wanted, "lob", result);
  }
}

void decode(const Property& property, std::uint32_t wanted, std::span<const std::uint32_t>& result) {
  checkDecode<kGidList>("list<uint32_t>", wanted);
  read<protocol::UnsignedIntListProp>(property, wanted, "unsigned int list", result);
}

}  // namespace morvex::tql
