#pragma once

#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/big_num.h"
#include "protocol/messages/object_tree.h"

namespace morvex::tql {

// The type word of a property: the base type, or the number of an enumeration, and flags above it.
inline constexpr std::uint32_t kBaseMask = 0x1FFFF;
inline constexpr std::uint32_t kEnumeration = 0x10000;
// The enumerations whose values TQL has names for, with the start of these names.
inline constexpr std::uint32_t kStatusEnumeration = kEnumeration | 5;     // ES_
inline constexpr std::uint32_t kNotifyEnumeration = kEnumeration | 14;    // NOTIFY_
inline constexpr std::uint32_t kReportEnumeration = kEnumeration | 9;     // RIF_
inline constexpr std::uint32_t kNodeTypeEnumeration = kEnumeration | 21;  // NRT_
inline constexpr std::uint32_t kConst = 0x20000;
inline constexpr std::uint32_t kNullAllowed = 0x40000;
inline constexpr std::uint32_t kComputed = 0x80000;
inline constexpr std::uint32_t kReadOnly = 0x100000;
inline constexpr std::uint32_t kPrimaryKey = 0x400000;
inline constexpr std::uint32_t kInherited = 0x80000000;  // on a null

// The comments name the type that encode takes and decode gives, where the name of the base type does not.
enum BaseType : std::uint32_t {
  kBoolean = 1,
  kUnsignedInteger = 2,  // std::uint32_t
  kSignedInteger = 3,    // std::int32_t
  kReal = 4,             // double
  kDate = 5,             // seconds since 1970; encode takes std::int32_t, decode gives std::int64_t
  kString = 6,           // up to 1024 bytes
  kId = 7,               // the id of an object, a string
  kIdSet = 8,            // a list of strings
  kAction = 9,           // has no value here
  kIndex = 10,           // std::uint32_t
  kStringList = 11,
  kBlob = 12,        // up to 2048 bytes
  kGid = 13,         // std::uint32_t
  kGidList = 14,     // a list of std::uint32_t
  kSnmpOid = 15,     // dotted decimal, a string
  kUnsigned64 = 16,  // decode only
  kSigned64 = 17,    // decode only
  kBigNum = 18,      // encode only
  kLob = 19,         // up to 2 MiB
};

using protocol::Property;

inline std::uint32_t baseOf(const Property& property) { return property.typeWord & kBaseMask; }
inline bool isNull(const Property& property) { return property.data.as<protocol::NullProp>() != nullptr; }

// Replace name, type word and value of a property together. The type word must fit the overload; another one
// is a defect of the caller.
void encodeNull(Property& property, const std::string& name, std::uint32_t typeWord);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, bool value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, double value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::int32_t value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::uint32_t value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, std::string value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::list<std::string>& value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint32_t>& value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord, const BigNum& value);
void encode(Property& property, const std::string& name, std::uint32_t typeWord,
            const std::vector<std::uint8_t>& value);
// A literal would become a bool.
void encode(Property& property, const std::string& name, std::uint32_t typeWord, const char* value) = delete;

// Read the value of a property of the wanted type. Throw errors::tql, illegalType, for another type and for
// null; result is then unchanged. A wanted type that the overload does not serve is a defect of the caller.
// Views are valid until the property changes.
void decode(const Property& property, std::uint32_t wanted, bool& result);
void decode(const Property& property, std::uint32_t wanted, double& result);
void decode(const Property& property, std::uint32_t wanted, std::int32_t& result);
void decode(const Property& property, std::uint32_t wanted, std::uint32_t& result);
void decode(const Property& property, std::uint32_t wanted, std::string_view& result);
void decode(const Property& property, std::uint32_t wanted, std::int64_t& result);
void decode(const Property& property, std::uint32_t wanted, std::uint64_t& result);
void decode(const Property& property, std::uint32_t wanted, std::span<const std::string>& result);
void decode(const Property& property, std::uint32_t wanted, std::vector<std::uint8_t>& result);
void decode(const Property& property, std::uint32_t wanted, std::span<const std::uint32_t>& result);

}  // namespace morvex::tql
