#include "protocol/ber_reader.h"

#include <algorithm>
#include <utility>

#include "foundation/assertion.h"
#include "platform/heap.h"
#include "protocol/ber_error.h"
#include "protocol/tag.h"

namespace morvex {

using protocol::BerConstructed;
using protocol::BerPrimitive;
using protocol::BerValue;
using protocol::EBer;

namespace old_protocol {
namespace {

constexpr std::size_t kChunkSize = 0x10000;

// What only a peer of the legacy tag set opens with: a ClientWants of version 0x0100 that offers a private
// key.
constexpr std::array<std::uint8_t, 8> kLegacyHello{0x60, 0x80, 0x02, 0x02, 0x01, 0x00, 0x61, 0x80};

constexpr std::uint32_t kLongTag = 0x1F;  // all low bits of the first byte set: the number follows
constexpr std::uint32_t kEndTag = 0;      // ends an indefinite length; between messages it is padding
constexpr std::uint32_t kPadTag = 200;    // the byte 0x19, padding everywhere

constexpr std::uint8_t kIndefiniteByte = 0x80;
constexpr std::uint8_t kMaxLengthBytes = 4;

constexpr std::uint32_t shortTagWord(std::uint32_t byte) {
  return (byte & kLongTag) << 3U | byte >> 5U;  // the number, over class and constructed bit
}

// A header of one byte tag and one byte length, both of them there. Nearly all are.
inline bool isShortHeader(std::span<const std::uint8_t> chunk) {
  if (chunk.size() < 2 || (chunk[0] & kLongTag) == kLongTag) {
    return false;
  }
  const std::uint32_t tag = shortTagWord(chunk[0]);
  return tag != kEndTag && tag != kPadTag && chunk[1] <= kIndefiniteByte;
}

inline bool isEndOfContents(std::span<const std::uint8_t> chunk) {
  return chunk.size() >= 2 && chunk[0] == 0 && chunk[1] == 0;
}

}  // namespace

BerReader::BerReader(const protocol::BerProtocol& catalogue, std::unique_ptr<BasicIo> stream)
    : catalogue_(catalogue), stream_(std::move(stream)) {}

BerReader::~BerReader() {
  stream_.reset();
  finished_.clear();
  dropPrimitive();
  // Inwards out: an outer value owns what lies below it, but for what the reader owns.
  for (; stack_.size() > 1; stack_.pop_back()) {
    if (stack_.back().value->readerOwned()) {
      delete stack_.back().value;
    }
  }
  protocol::discard(message_.release());
}

void BerReader::read() {
  if (sniffing_) {
    readOpening();
    return;
  }
  std::array<std::uint8_t, kChunkSize> chunk;
  std::size_t count = 0;
  try {
    count = stream_->read(chunk.data(), chunk.size());
  } catch (const error::Exception&) {
    if (finished_.empty()) {
      throw;
    }
    return;  // what is complete comes first; a lasting fault will show again
  }
  feed(std::span(chunk).first(count));
  if (count == kChunkSize) {  // there is more to come
    platform_populate_heap();
  }
}

// The first bytes decide on the tag set. They are parsed once the decision stands.
void BerReader::readOpening() {
  openingCount_ += stream_->read(opening_.data() + openingCount_, opening_.size() - openingCount_);
  const std::span<const std::uint8_t> seen = std::span(opening_).first(openingCount_);
  const bool isHello = std::ranges::equal(seen, std::span(kLegacyHello).first(openingCount_));
  if (isHello && openingCount_ < kLegacyHello.size()) {
    return;
  }
  legacy_ = isHello;
  sniffing_ = false;
  feed(seen);
}

void BerReader::send(const BerValue& message) {
  message.write(*stream_, legacy_);
  stream_->flush();
}

std::unique_ptr<BerValue> BerReader::nextMessage() {
  if (finished_.empty()) {
    return nullptr;
  }
  std::unique_ptr<BerValue> oldest = std::move(finished_.front());
  finished_.pop_front();
  return oldest;
}

// The byte machine. It stops wherever the chunk ends and goes on with the next one.
void BerReader::feed(std::span<const std::uint8_t> chunk) {
  while (!chunk.empty()) {
    if (state_ == State::content) {
      chunk = chunk.subspan(takeContent(chunk));
    } else {
      const std::size_t taken = state_ == State::tag ? takeShort(chunk) : 0;
      if (taken == 0) {
        takeByte(chunk.front());
      }
      chunk = chunk.subspan(std::max<std::size_t>(taken, 1));
    }
  }
}

// What lies whole at the front of the chunk, without the states between its bytes: a run of plain children, a
// header, or an end-of-contents. Returns 0 for anything else.
std::size_t BerReader::takeShort(std::span<const std::uint8_t> chunk) {
  if (isEndOfContents(chunk)) {
    if (stack_.empty()) {
      return 0;
    }
    consume(2);
    closeTop();
    closeComplete();
    return 2;
  }
  if (!stack_.empty()) {
    if (const std::size_t taken = takePlain(chunk); taken != 0) {
      return taken;
    }
  }
  if (isShortHeader(chunk)) {
    takeShortHeader(chunk[0], chunk[1]);
    return 2;
  }
  return 0;
}

// The short way for the children of the value on top.
std::size_t BerReader::takePlain(std::span<const std::uint8_t> chunk) {
  StackEntry& top = stack_.back();
  const std::uint64_t left = top.length - top.consumed;  // nearly without end for an indefinite length
  const auto within = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), left));
  const std::size_t taken = top.value->takePlain(top.fieldIndex, chunk.first(within), legacy_);
  if (taken != 0) {
    top.consumed += taken;
    closeComplete();
  }
  return taken;
}

// What takeTag and takeLength do, without the state between them.
void BerReader::takeShortHeader(std::uint8_t tag, std::uint8_t length) {
  consume(2);
  tag_ = shortTagWord(tag);
  length_ = length == kIndefiniteByte ? kIndefinite : length;
  startValue();
}

// A byte of a header, or of an end-of-contents: content of the value around it.
void BerReader::takeByte(std::uint8_t byte) {
  consume(1);
  switch (state_) {
    case State::tag:
      return takeTag(byte);
    case State::longTag:
      return takeLongTag(byte);
    case State::length:
      return takeLength(byte);
    case State::endOfContents:
      return takeEndOfContents(byte);
    case State::longLength:
      return takeLongLength(byte);
    case State::content:
      return;  // never comes byte by byte
  }
}

inline void BerReader::consume(std::uint64_t bytes) {
  if (!stack_.empty()) {
    stack_.back().consumed += bytes;
  }
}

void BerReader::takeTag(std::uint8_t byte) {
  if ((byte & kLongTag) == kLongTag) {
    tag_ = byte >> 5U;
    state_ = State::longTag;
    return;
  }
  tag_ = shortTagWord(byte);
  if (tag_ == kEndTag) {
    state_ = stack_.empty() ? State::tag : State::endOfContents;
  } else if (tag_ != kPadTag) {
    state_ = State::length;
  }
}

// A number too large for the word loses its top bits, and then fits no value.
void BerReader::takeLongTag(std::uint8_t byte) {
  const std::uint32_t number = (tag_ >> 3U) << 7U | (byte & 0x7FU);
  tag_ = number << 3U | (tag_ & 7U);
  if (byte < 0x80) {
    state_ = State::length;
  }
}

void BerReader::takeLength(std::uint8_t byte) {
  if (byte < 0x80) {
    length_ = byte;
    startValue();
  } else if (byte == kIndefiniteByte) {
    length_ = kIndefinite;
    startValue();
  } else {
    lengthBytesLeft_ = byte & 0x7FU;
    if (lengthBytesLeft_ > kMaxLengthBytes) {
      throw EBer("Length field too long");
    }
    length_ = 0;
    state_ = State::longLength;
  }
}

void BerReader::takeLongLength(std::uint8_t byte) {
  length_ = length_ << 8U | byte;
  if (--lengthBytesLeft_ == 0) {
    startValue();
  }
}

void BerReader::takeEndOfContents(std::uint8_t byte) {
  if (byte != 0) {
    throw EBer("Length field nonzero after zero tag " + std::to_string(byte));
  }
  assertThat(primitive_ == nullptr, "Primitive object on top of stack");
  assertThat(!stack_.empty(), "Stack empty");
  closeTop();
  closeComplete();
  state_ = State::tag;
}

std::size_t BerReader::takeContent(std::span<const std::uint8_t> chunk) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(chunk.size(), length_ - received_));
  primitive_->addData(chunk.data(), count);
  received_ += count;
  if (received_ == length_) {
    finishPrimitive();
  }
  return count;
}

void BerReader::startValue() {
  BerValue& value = openValue();
  checkTag(value);
  if (BerConstructed* constructed = value.constructed()) {
    startConstructed(*constructed);
  } else if (BerPrimitive* primitive = value.primitive()) {
    startPrimitive(*primitive);
  } else {
    assertionFailed("Value neither BerPrimitive nor BerConstructed");
  }
}

BerValue& BerReader::openValue() try {
  if (stack_.empty()) {
    message_ = catalogue_.makeMessage(tag_, legacy_);
    return *message_;
  }
  StackEntry& parent = stack_.back();
  return *parent.value->makeField(parent.fieldIndex++, tag_, legacy_, slot_);
} catch (EBer& refusal) {
  refusal.suffix += position();
  throw;
}

inline void BerReader::checkTag(const BerValue& value) const {
  const std::uint32_t tag = value.tag(legacy_);
  if (tag != tag_) [[unlikely]] {
    assertionFailed("Internal server error, tag mismatch " + std::to_string(tag) +
                    " != " + std::to_string(tag_) +
                    (stack_.empty() ? " at top level" : " child of " + stack_.back().value->name()));
  }
}

void BerReader::startConstructed(BerConstructed& value) {
  stack_.push_back({&value, 0, 0, length_});
  closeComplete();
  state_ = State::tag;
}

void BerReader::startPrimitive(BerPrimitive& value) {
  primitive_ = &value;
  if (length_ == kIndefinite) {
    throw EBer("Indefinite length on tag " + std::to_string(tag_));
  }
  value.setLength(length_);
  received_ = 0;
  if (length_ == 0) {
    finishPrimitive();
  } else {
    state_ = State::content;
  }
}

void BerReader::finishPrimitive() {
  consume(length_);
  primitive_->readDone();
  dropPrimitive();
  closeComplete();
  state_ = State::tag;
}

// An owned primitive stays with the record that it belongs to.
void BerReader::dropPrimitive() {
  BerPrimitive* primitive = std::exchange(primitive_, nullptr);
  if (slot_.holds(primitive)) {
    slot_.clear();
  } else if (primitive != nullptr && primitive == message_.get()) {
    message_.reset();
  } else if (primitive != nullptr && !primitive->owned()) {
    delete primitive;
  }
}

// Closes the values whose declared length is used up.
void BerReader::closeComplete() {
  while (!stack_.empty() && stack_.back().consumed == stack_.back().length) {
    closeTop();
  }
}

void BerReader::closeTop() {
  const StackEntry& top = stack_.back();
  if (top.fieldIndex < top.value->minFields()) {
    throw EBer("Got to few fields of constructed value");
  }
  top.value->readDone();
  const std::uint64_t consumed = top.consumed;
  if (stack_.size() == 1) {
    finished_.push_back(std::move(message_));
  } else if (top.value->readerOwned()) {
    delete top.value;
  }
  stack_.pop_back();
  consume(consumed);
}

std::string BerReader::position() const {
  std::string text = ", BerReader: ";
  const char* separator = "";
  for (const StackEntry& entry : stack_) {
    text.append(separator).append(entry.value->name()).append(":").append(std::to_string(entry.fieldIndex));
    separator = ", ";
  }
  return text;
}

}  // namespace old_protocol

}  // namespace morvex
