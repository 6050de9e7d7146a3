#include "protocol/encoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "foundation/assertion.h"
#include "protocol/tag.h"

namespace morvex::protocol {
namespace {

constexpr std::uint32_t kFirstLongTag = 31 * 8;
constexpr std::uint8_t kIndefinite = 0x80;

// The put functions write at a place that has room and return the place behind what they wrote.

std::uint8_t* putTag(std::uint8_t* at, std::uint32_t tagWord) {
  const auto classBits = static_cast<std::uint8_t>((tagWord & 7U) << 5U);
  const std::uint32_t number = tagWord >> 3U;
  if (tagWord < kFirstLongTag) {
    *at++ = static_cast<std::uint8_t>(classBits | number);
    return at;
  }
  *at++ = classBits | 0x1FU;
  int shift = (std::bit_width(number) - 1) / 7 * 7;
  const std::uint32_t top = number >> shift;
  assertThat(top >= 1 && top <= 127, "Tag encoding failed");
  for (; shift > 0; shift -= 7) {
    *at++ = static_cast<std::uint8_t>(0x80U | (number >> shift));
  }
  *at++ = static_cast<std::uint8_t>(number & 0x7FU);
  return at;
}

// The lowest bytes of a number, most significant first. A ninth byte is the zero above 64 bits.
std::uint8_t* putBytes(std::uint8_t* at, std::uint64_t bits, int count) {
  for (int i = count - 1; i >= 0; --i) {
    *at++ = i < 8 ? static_cast<std::uint8_t>(bits >> (8 * i)) : std::uint8_t{0};
  }
  return at;
}

std::uint8_t* putLength(std::uint8_t* at, std::uint32_t length) {
  if (length < 0x80) {
    *at++ = static_cast<std::uint8_t>(length);
    return at;
  }
  const int count = (std::bit_width(length) + 7) / 8;
  *at++ = static_cast<std::uint8_t>(0x80 | count);
  return putBytes(at, length, count);
}

// How many bytes a number takes whose sign stands ahead of so many significant bits.
int bytesFor(std::uint64_t magnitude) { return static_cast<int>(std::bit_width(magnitude)) / 8 + 1; }

std::uint8_t* putInteger(std::uint8_t* at, std::uint32_t tagWord, std::uint64_t bits, int count) {
  at = putTag(at, tagWord);
  *at++ = static_cast<std::uint8_t>(count);
  return putBytes(at, bits, count);
}

using ItemRoom = std::array<std::uint8_t, kItemRoom>;

void writeUpTo(BasicIo& io, const ItemRoom& item, const std::uint8_t* end) {
  io.write(item.data(), static_cast<std::size_t>(end - item.data()));
}

}  // namespace

std::uint8_t* putOpening(std::uint8_t* at, std::uint32_t tagWord) {
  at = putTag(at, tagWord);
  *at++ = kIndefinite;
  return at;
}

std::uint8_t* putEndOfContents(std::uint8_t* at) {
  *at++ = 0;
  *at++ = 0;
  return at;
}

std::uint8_t* putSigned(std::uint8_t* at, std::uint32_t tagWord, std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  return putInteger(at, tagWord, bits, bytesFor(value < 0 ? ~bits : bits));
}

std::uint8_t* putUnsigned(std::uint8_t* at, std::uint32_t tagWord, std::uint64_t value) {
  return putInteger(at, tagWord, value, bytesFor(value));
}

std::uint8_t* putEnumerated(std::uint8_t* at, std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  const int count = value == 0 ? 0 : value < 0 ? 4 : bytesFor(bits);
  return putInteger(at, BE_ENUMERATED.current, bits, count);
}

std::uint8_t* putPrimitive(std::uint8_t* at, std::uint32_t tagWord, std::span<const std::uint8_t> content) {
  at = putLength(putTag(at, tagWord), static_cast<std::uint32_t>(content.size()));
  return std::copy(content.begin(), content.end(), at);
}

void writeEndOfContents(BasicIo& io) {
  ItemRoom item;
  writeUpTo(io, item, putEndOfContents(item.data()));
}

void writeOpening(BasicIo& io, std::uint32_t tagWord) {
  ItemRoom item;
  writeUpTo(io, item, putOpening(item.data(), tagWord));
}

void writePrimitive(BasicIo& io, std::uint32_t tagWord, std::span<const std::uint8_t> content) {
  ItemRoom item;
  if (content.size() <= kLongestShortContent) {
    writeUpTo(io, item, putPrimitive(item.data(), tagWord, content));
    return;
  }
  writeUpTo(io, item, putLength(putTag(item.data(), tagWord), static_cast<std::uint32_t>(content.size())));
  io.write(content.data(), content.size());
}

void writeSigned(BasicIo& io, std::uint32_t tagWord, std::int64_t value) {
  ItemRoom item;
  writeUpTo(io, item, putSigned(item.data(), tagWord, value));
}

void writeUnsigned(BasicIo& io, std::uint32_t tagWord, std::uint64_t value) {
  ItemRoom item;
  writeUpTo(io, item, putUnsigned(item.data(), tagWord, value));
}

void writeEnumerated(BasicIo& io, std::int32_t value) {
  ItemRoom item;
  writeUpTo(io, item, putEnumerated(item.data(), value));
}

}  // namespace morvex::protocol
