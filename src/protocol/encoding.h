#pragma once

#include <cstdint>

#include "protocol/basic_io.h"

// The pieces of BER (ITU-T X.690) as this protocol writes them: primitives in the definite form, as short as
// it gets; constructed values in the indefinite form, so that nothing is measured before it is written.
namespace protocol {

void writeTag(BasicIo& io, std::uint32_t tagWord);
void writeLength(BasicIo& io, std::uint32_t length);
void writeIndefiniteLength(BasicIo& io);
void writeEndOfContents(BasicIo& io);

// Whole items: tag, length and the shortest two's complement content.
void writeSigned(BasicIo& io, std::uint32_t tagWord, std::int64_t value);
void writeUnsigned(BasicIo& io, std::uint32_t tagWord, std::uint64_t value);

// Zero has empty content and a negative value takes four bytes: enumerations have a rule of their own.
void writeEnumerated(BasicIo& io, std::int32_t value);

}  // namespace protocol
