#pragma once

#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/big_num.h"
#include "protocol/messages/object_tree.h"

namespace tql {

// The type word of a property: the base type, or the number of an enumeration, and flags above it.
inline constexpr std::uint32_t kBaseMask = 0x1FFFF;
inline constexpr std::uint32_t kEnumeration = 0x10000;
inline constexpr std::uint32_t kConst = 0x20000;
inline constexpr std::uint32_t kNullAllowed = 0x40000;
inline constexpr std::uint32_t kComputed = 0x80000;
inline constexpr std::uint32_t kReadOnly = 0x100000;
inline constexpr std::uint32_t kPrimaryKey = 0x400000;
inline constexpr std::uint32_t kInherited = 0x80000000;  // on a null

enum BaseType : std::uint32_t {
  kBoolean = 1,
  kUnsignedInteger = 2,
  kSignedInteger = 3,
  kReal = 4,
  kDate = 5,
  kString = 6,
  kId = 7,
  kIdSet = 8,
  kAction = 9,
  kIndex = 10,
  kStringList = 11,
  kBlob = 12,
  kGid = 13,
  kGidList = 14,
  kSnmpOid = 15,
  kUnsigned64 = 16,
  kSigned64 = 17,
  kBigNum = 18,
  kLob = 19,
};

using protocol::Property;

// Replace name, type word and value of a property together. The type word must fit the overload; anything
// else is a defect of the caller.
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
// A literal would rather become a bool than a string.
void encode(Property& property, const std::string& name, std::uint32_t typeWord, const char* value) = delete;

// Read the value of a property that should be of the wanted type. Throw errors::tql, code 9, for another type
// and for null; result is then unchanged. A wanted type that the overload does not serve is a defect. Views
// live as long as the property is left as it is.
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

}  // namespace tql
