#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "protocol/basic_io.h"
#include "protocol/tag.h"

namespace morvex::protocol {

// Writes items of BER (ITU-T X.690) as this protocol has them: primitives in the definite form, as short as
// possible; constructed values in the indefinite form, so that nothing is measured before it is written.
// Items gather in a block, and the stream is called once for many. Throws what the stream throws.
class Writer {
 public:
  Writer(BasicIo& io, bool legacy) : io_(io), legacy_(legacy) {}
  ~Writer();
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  // What stands around the children of a constructed value.
  void open(const Tag& tag);
  void close();

  void primitive(const Tag& tag, std::span<const std::uint8_t> content);

  // The same for content of at most kShort bytes that is made in place: put gets the room and returns its
  // end.
  static constexpr std::size_t kShort = 0x7F;
  template <class Put>
  void shortPrimitive(const Tag& tag, Put put) {
    reserve(kHeader + kShort);
    putTag(tag);
    std::uint8_t* content = end_ + 1;
    end_ = put(content);
    content[-1] = static_cast<std::uint8_t>(end_ - content);
  }

  // The content is the shortest two's complement; an unsigned value with its top bit set has a zero byte
  // ahead.
  void signedInteger(std::int64_t value);
  void unsignedInteger(std::uint64_t value);

  // Zero has empty content and a negative value takes four bytes: enumerations have a rule of their own.
  void enumerated(std::int32_t value);

  // Gives the stream what has gathered. To be called at the end; the stream itself is not flushed.
  void flush();

 private:
  static constexpr std::size_t kBlock = 1024;
  static constexpr std::size_t kHeader = 6 + 5;       // the longest tag and length
  static constexpr std::size_t kOverhang = 8;         // what putBytes may store behind the end
  static constexpr std::size_t kLongestCopied = 512;  // longer content goes to the stream from where it lies

  void reserve(std::size_t count) {
    if (static_cast<std::size_t>(block_.data() + block_.size() - end_) < count) {
      flush();
    }
  }
  void putTag(const Tag& tag) {
    const std::uint32_t word = tag.word(legacy_);
    const std::uint8_t octet = identifierOctet(word);
    if (octet != 0) {
      *end_++ = octet;
    } else {
      putLongTag(word);
    }
  }
  void putLongTag(std::uint32_t word);
  void putLength(std::size_t length);
  void putBytes(std::uint64_t bits, int count);
  void integer(const Tag& tag, std::uint64_t bits, int count);

  BasicIo& io_;
  bool legacy_;
  std::array<std::uint8_t, kBlock> block_;
  std::uint8_t* end_ = block_.data();
};

}  // namespace morvex::protocol
