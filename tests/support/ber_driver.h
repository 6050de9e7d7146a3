#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "protocol/ber_error.h"
#include "protocol/ber_value.h"
#include "protocol/catalogue.h"

// The plainest decoder that fills values: all input at hand, and as deep a recursion as the message. It is
// what the reader of the product is compared with, and serves tests of values, which need no reader. Throws
// EBer as the reader does, but without a place; std::out_of_range where the input ends too early.
class BerDriver {
 public:
  // Content goes to primitives in pieces of this size at most.
  explicit BerDriver(std::span<const std::uint8_t> input, bool legacy = false,
                     std::size_t piece = std::numeric_limits<std::size_t>::max())
      : input_(input), legacy_(legacy), piece_(piece) {}

  bool atEnd() const { return at_ == input_.size(); }

  std::unique_ptr<protocol::BerValue> message() {
    while (peek() == 0 || peek() == kSkipped) {
      ++at_;
    }
    const std::uint32_t tag = takeTag();
    const std::uint64_t length = takeLength();
    auto value = protocol::guiProtocol::instance().makeMessage(tag, legacy_);
    fillContent(*value, tag, length);
    return value;
  }

  // The same into a value that is there already.
  void fill(protocol::BerValue& value) {
    const std::uint32_t tag = takeTag();
    if (tag != value.tag(legacy_)) {
      throw std::logic_error("the input is for another value");
    }
    fillContent(value, tag, takeLength());
  }

 private:
  static constexpr std::uint8_t kSkipped = 0x19;
  static constexpr std::uint64_t kIndefinite = std::numeric_limits<std::uint64_t>::max();

  std::uint8_t peek() const {
    if (atEnd()) {
      throw std::out_of_range("the input ends within a message");
    }
    return input_[at_];
  }

  std::uint8_t take() {
    const std::uint8_t byte = peek();
    ++at_;
    return byte;
  }

  std::uint32_t takeTag() {
    const std::uint8_t first = take();
    std::uint32_t number = first & 31U;
    if (number == 31) {
      number = 0;
      std::uint8_t more = 0x80;
      while (more >= 0x80) {
        more = take();
        number = number << 7U | (more & 0x7FU);
      }
    }
    return number << 3U | static_cast<std::uint32_t>(first) >> 5U;
  }

  std::uint64_t takeLength() {
    const std::uint8_t first = take();
    if (first < 0x80) {
      return first;
    }
    if (first == 0x80) {
      return kIndefinite;
    }
    if ((first & 0x7FU) > 4) {
      throw protocol::EBer("Length field too long");
    }
    std::uint64_t length = 0;
    for (unsigned left = first & 0x7FU; left > 0; --left) {
      length = length << 8U | take();
    }
    return length;
  }

  void fillContent(protocol::BerValue& value, std::uint32_t tag, std::uint64_t length) {
    if (protocol::BerPrimitive* primitive = value.primitive()) {
      if (length == kIndefinite) {
        throw protocol::EBer("Indefinite length on tag " + std::to_string(tag));
      }
      fillPrimitive(*primitive, length);
    } else {
      fillConstructed(*value.constructed(), length);
    }
  }

  void fillPrimitive(protocol::BerPrimitive& value, std::uint64_t length) {
    value.setLength(length);
    if (length > input_.size() - at_) {
      throw std::out_of_range("the input ends within a message");
    }
    for (std::uint64_t left = length; left > 0;) {
      const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(left, piece_));
      value.addData(input_.data() + at_, count);
      at_ += count;
      left -= count;
    }
    value.readDone();
  }

  void fillConstructed(protocol::BerConstructed& value, std::uint64_t length) {
    const std::size_t start = at_;
    std::uint32_t children = 0;
    while (at_ - start != length) {
      while (peek() == kSkipped) {
        ++at_;
      }
      const std::uint32_t tag = takeTag();
      if (tag == 0) {
        takeEndOfContents();
        break;
      }
      const std::uint64_t childLength = takeLength();
      fillChild(*value.makeField(children++, tag, legacy_, slot_), tag, childLength);
    }
    if (children < value.minFields()) {
      throw protocol::EBer("Got to few fields of constructed value");
    }
    value.readDone();
  }

  void takeEndOfContents() {
    if (const std::uint8_t second = take(); second != 0) {
      throw protocol::EBer("Length field nonzero after zero tag " + std::to_string(second));
    }
  }

  void fillChild(protocol::BerValue& child, std::uint32_t tag, std::uint64_t length) {
    const protocol::BerConstructed* constructed = child.constructed();
    const std::unique_ptr<protocol::BerValue> owned(
        constructed != nullptr && constructed->readerOwned() ? &child : nullptr);
    fillContent(child, tag, length);
    slot_.clear();
  }

  std::span<const std::uint8_t> input_;
  bool legacy_;
  std::size_t piece_;
  std::size_t at_ = 0;
  protocol::FieldSlot slot_;
};
