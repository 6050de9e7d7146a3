#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "protocol/basic_io.h"

// The pieces of BER (ITU-T X.690) as this protocol writes them: primitives in the definite form, as short as
// it gets; constructed values in the indefinite form, so that nothing is measured before it is written.
namespace morvex::protocol {

// What stands around the children of a constructed value: its tag with the indefinite length mark, and the
// two zero bytes.
void writeOpening(BasicIo& io, std::uint32_t tagWord);
void writeEndOfContents(BasicIo& io);

// Whole items: tag, length and content. What is short goes to the stream in one write.
void writePrimitive(BasicIo& io, std::uint32_t tagWord, std::span<const std::uint8_t> content);

// The content is the shortest two's complement; an unsigned value with its top bit set has a zero byte ahead.
void writeSigned(BasicIo& io, std::uint32_t tagWord, std::int64_t value);
void writeUnsigned(BasicIo& io, std::uint32_t tagWord, std::uint64_t value);

// Zero has empty content and a negative value takes four bytes: enumerations have a rule of their own.
void writeEnumerated(BasicIo& io, std::int32_t value);

// The same into room that the caller has, for items that come by the million. Each returns the end of what it
// put and needs kItemRoom bytes, some of which it may change behind that end.
inline constexpr std::size_t kLongestShortContent = 64;
inline constexpr std::size_t kItemRoom = 6 + 5 + kLongestShortContent + 8;
std::uint8_t* putOpening(std::uint8_t* at, std::uint32_t tagWord);
std::uint8_t* putEndOfContents(std::uint8_t* at);
std::uint8_t* putSigned(std::uint8_t* at, std::uint32_t tagWord, std::int64_t value);
std::uint8_t* putUnsigned(std::uint8_t* at, std::uint32_t tagWord, std::uint64_t value);
std::uint8_t* putEnumerated(std::uint8_t* at, std::int32_t value);
// At most kLongestShortContent bytes of content.
std::uint8_t* putPrimitive(std::uint8_t* at, std::uint32_t tagWord, std::span<const std::uint8_t> content);

}  // namespace morvex::protocol
