#include "protocol/writer.h"

#include <algorithm>
#include <bit>

#include "foundation/assertion.h"
#include "foundation/wipe.h"

namespace morvex::protocol {
namespace {

constexpr std::uint8_t kIndefinite = 0x80;

// How many bytes a number takes whose sign stands ahead of these significant bits.
int bytesFor(std::uint64_t magnitude) { return static_cast<int>(std::bit_width(magnitude)) / 8 + 1; }

}  // namespace

Writer::~Writer() { wipe(block_.data(), block_.size()); }  // passwords pass through

void Writer::open(const Tag& tag) {
  reserve(kHeader);
  putTag(tag);
  *end_++ = kIndefinite;
}

void Writer::close() {
  reserve(2);
  *end_++ = 0;
  *end_++ = 0;
}

void Writer::primitive(const Tag& tag, std::span<const std::uint8_t> content) {
  const bool copied = content.size() <= kLongestCopied;
  reserve(kHeader + kOverhang + (copied ? content.size() : 0));
  putTag(tag);
  putLength(content.size());
  if (copied) {
    end_ = std::copy(content.begin(), content.end(), end_);
  } else {
    flush();
    io_.write(content.data(), content.size());
  }
}

void Writer::signedInteger(std::int64_t value) {
  const auto bits = static_cast<std::uint64_t>(value);
  integer(BE_INTEGER, bits, bytesFor(value < 0 ? ~bits : bits));
}

void Writer::unsignedInteger(std::uint64_t value) { integer(BE_INTEGER, value, bytesFor(value)); }

void Writer::enumerated(std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  integer(BE_ENUMERATED, bits, value == 0 ? 0 : value < 0 ? 4 : bytesFor(bits));
}

void Writer::integer(const Tag& tag, std::uint64_t bits, int count) {
  reserve(kHeader + 1 + sizeof bits + kOverhang);
  putTag(tag);
  *end_++ = static_cast<std::uint8_t>(count);
  putBytes(bits, count);
}

void Writer::flush() {
  if (end_ != block_.data()) {
    io_.write(block_.data(), static_cast<std::size_t>(end_ - block_.data()));
    end_ = block_.data();
  }
}

void Writer::putLongTag(std::uint32_t word) {
  const std::uint32_t number = word >> 3U;
  int shift = (std::bit_width(number) - 1) / 7 * 7;
  const std::uint32_t top = number >> shift;
  assertThat(top >= 1 && top <= 127, "Tag encoding failed");
  *end_++ = static_cast<std::uint8_t>((word & 7U) << 5U | 0x1FU);
  for (; shift > 0; shift -= 7) {
    *end_++ = static_cast<std::uint8_t>(0x80U | (number >> shift));
  }
  *end_++ = static_cast<std::uint8_t>(number & 0x7FU);
}

void Writer::putLength(std::size_t length) {
  if (length < 0x80) {
    *end_++ = static_cast<std::uint8_t>(length);
    return;
  }
  const int count = (static_cast<int>(std::bit_width(length)) + 7) / 8;
  *end_++ = static_cast<std::uint8_t>(0x80 | count);
  putBytes(length, count);
}

// The lowest bytes of a number, most significant first. A ninth byte is the zero above 64 bits. Eight bytes
// are stored at once, some of them behind the end.
void Writer::putBytes(std::uint64_t bits, int count) {
  if (count > 8) {
    *end_++ = 0;
    count = 8;
  }
  if (count > 0) {
    bits <<= 8 * (8 - count);
  }
  for (int i = 0; i < 8; ++i) {
    end_[i] = static_cast<std::uint8_t>(bits >> (56 - 8 * i));
  }
  end_ += count;
}

}  // namespace morvex::protocol
