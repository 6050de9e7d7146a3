#pragma once

#include <cstdint>
#include <memory>

#include "protocol/schema.h"

namespace morvex::protocol {

// A value of one of four primitive types, told apart by its tag.
using PlainValue = OneOf<BerIntegerTemplate<std::int32_t>, BerString, BerNull, BerReal>;

template <const Tag& kTag, class T>
struct PrimitiveAlternative {
  static std::uint32_t tag(bool legacy) { return kTag.word(legacy); }
  static std::unique_ptr<BerValue> make() { return std::make_unique<T>(); }
};
template <>
struct Alternative<BerIntegerTemplate<std::int32_t>>
    : PrimitiveAlternative<BE_INTEGER, BerIntegerTemplate<std::int32_t>> {};
template <>
struct Alternative<BerNull> : PrimitiveAlternative<BE_NULL, BerNull> {};
template <>
struct Alternative<BerReal> : PrimitiveAlternative<BE_REAL, BerReal> {};
template <>
struct Alternative<BerString> {
  static std::uint32_t tag(bool legacy) { return BE_STRING.word(legacy); }
  static std::unique_ptr<BerValue> make() { return std::make_unique<BerString>(65536); }
};

}  // namespace morvex::protocol
