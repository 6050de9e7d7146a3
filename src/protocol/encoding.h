#pragma once

#include <cstdint>
#include <span>

#include "protocol/basic_io.h"

// The pieces of BER (ITU-T X.690) as this protocol writes them: primitives in the definite form, as short as
// it gets; constructed values in the indefinite form, so that nothing is measured before it is written.
namespace protocol {

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

}  // namespace protocol
