#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <type_traits>

#include "foundation/big_num.h"
#include "foundation/number_text.h"
#include "protocol/members.h"
#include "protocol/schema.h"
#include "protocol/writer.h"

// The primitives. Leaf<T> says for each type which tag it has, how long its content may be, and how the whole
// content becomes a value and back. decode and put throw EBer for what they refuse.
namespace morvex::protocol {

using Content = std::span<const std::uint8_t>;

inline constexpr std::size_t kLongestReal = 60;
inline constexpr std::size_t kLongestBigNum = 1040;

// The refusals of lengths.
void checkDataLength(std::uint64_t length, std::size_t limit);
void checkStringLength(std::uint64_t length, std::size_t limit);

// Refuses an integer beyond its bounds; place is the step at which it is found.
template <class T>
[[noreturn]] void refuseInteger(T value, T low, T high, const char* place);
[[noreturn]] void refuseWideInteger();

// The number in the content of an INTEGER or ENUMERATED: two's complement, or without a sign.
template <class T>
T integerFrom(Content content) {
  if (content.size() == 1) {  // as counts are, nearly always
    return std::is_signed_v<T> ? static_cast<T>(static_cast<std::int8_t>(content.front()))
                               : static_cast<T>(content.front());
  }
  if (content.size() == 4) {  // and times
    const std::uint32_t bits = std::uint32_t{content[0]} << 24U | std::uint32_t{content[1]} << 16U |
                               std::uint32_t{content[2]} << 8U | content[3];
    return std::is_signed_v<T> ? static_cast<T>(static_cast<std::int32_t>(bits)) : static_cast<T>(bits);
  }
  const bool negative = std::is_signed_v<T> && !content.empty() && content.front() >= 0x80;
  std::uint64_t bits = negative ? ~std::uint64_t{0} : 0;
  for (const std::uint8_t byte : content) {
    bits = bits << 8U | byte;
  }
  return static_cast<T>(bits);
}

// A decimal text, an infinity, or a NaN; a NaN reads back as 0.
double realFrom(Content content);
void putReal(Writer& writer, double value);

template <class T>
struct Leaf;

template <class T>
concept Primitive = requires {
  Leaf<T>::kTag;
};

template <>
struct Leaf<bool> {
  static constexpr Tag kTag = BE_BOOLEAN;
  static constexpr std::size_t longest(const Bounds&) { return 1; }
  static void decode(Content content, const Bounds&, bool& value) {
    value = !content.empty() && content.front() != 0;
  }
  static void put(bool value, const Bounds&, Writer& writer) {
    const std::uint8_t content = value ? 1 : 0;
    writer.primitive(kTag, {&content, 1});
  }
};

template <>
struct Leaf<Null> {
  static constexpr Tag kTag = BE_NULL;
  static constexpr std::size_t longest(const Bounds&) { return 0; }
  static void decode(Content, const Bounds&, Null&) {}
  static void put(Null, const Bounds&, Writer& writer) { writer.primitive(kTag, {}); }
};

template <>
struct Leaf<double> {
  static constexpr Tag kTag = BE_REAL;
  static constexpr std::size_t longest(const Bounds&) { return kLongestReal; }
  static void decode(Content content, const Bounds&, double& value) {
    const char* text = reinterpret_cast<const char*>(content.data());
    if (content.empty() || content.front() != 0 || !readDecimal(text + 1, text + content.size(), value)) {
      value = realFrom(content);
    }
  }
  static void put(double value, const Bounds&, Writer& writer) { putReal(writer, value); }
};

// The magnitude alone: unlike an INTEGER of X.690 it has no sign bit, and zero is empty.
template <>
struct Leaf<BigNum> {
  static constexpr Tag kTag = BE_INTEGER;
  static constexpr std::size_t longest(const Bounds&) { return kLongestBigNum; }
  static void decode(Content content, const Bounds&, BigNum& value) {
    value.bn_set_data(content.data(), content.size());
  }
  static void put(const BigNum& value, const Bounds&, Writer& writer);
};

// Any bytes. What arrives is appended, so the member must be empty. decode stands elsewhere because g++ 12
// copies a text that it knows to be short with "rep movsb", which is slower than a call of memcpy.
template <>
struct Leaf<std::string> {
  static constexpr Tag kTag = BE_STRING;
  static constexpr std::size_t longest(const Bounds& bounds) { return static_cast<std::size_t>(bounds.high); }
  static void decode(Content content, const Bounds&, std::string& value);
  static void put(const std::string& value, const Bounds& bounds, Writer& writer) {
    checkStringLength(value.size(), longest(bounds));
    writer.primitive(kTag, {reinterpret_cast<const std::uint8_t*>(value.data()), value.size()});
  }
};

template <std::integral T>
struct Leaf<T> {
  static constexpr Tag kTag = BE_INTEGER;
  // An unsigned value with its top bit set takes a leading zero byte.
  static constexpr std::size_t longest(const Bounds&) { return sizeof(T) + (std::is_signed_v<T> ? 0 : 1); }
  static void decode(Content content, const Bounds& bounds, T& value) {
    if (content.size() > sizeof(T) && content.front() != 0) [[unlikely]] {
      refuseWideInteger();
    }
    value = integerFrom<T>(content);
    check(value, bounds, "readDone");
  }
  static void put(T value, const Bounds& bounds, Writer& writer) {
    check(value, bounds, "write");
    if constexpr (std::is_signed_v<T>) {
      writer.signedInteger(value);
    } else {
      writer.unsignedInteger(value);
    }
  }

 private:
  static void check(T value, const Bounds& bounds, const char* place) {
    const T low = bounds.given ? static_cast<T>(bounds.low) : std::numeric_limits<T>::min();
    const T high = bounds.given ? static_cast<T>(bounds.high) : std::numeric_limits<T>::max();
    if (value < low || value > high) [[unlikely]] {
      refuseInteger(value, low, high, place);
    }
  }
};

// No range is checked: peers may know values that this program does not.
template <class T>
requires std::is_enum_v<T>
struct Leaf<T> {
  static constexpr Tag kTag = BE_ENUMERATED;
  static constexpr std::size_t longest(const Bounds&) { return sizeof(std::int32_t); }
  static void decode(Content content, const Bounds&, T& value) {
    value = static_cast<T>(integerFrom<std::int32_t>(content));
  }
  static void put(T value, const Bounds&, Writer& writer) {
    writer.enumerated(static_cast<std::int32_t>(value));
  }
};

}  // namespace morvex::protocol
