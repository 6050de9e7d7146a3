#include "protocol/ber_primitives.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>

#include "foundation/assertion.h"
#include "foundation/class_name.h"
#include "foundation/number_text.h"
#include "foundation/text.h"
#include "foundation/wipe.h"
#include "protocol/ber_error.h"

namespace morvex::protocol {
namespace {

void checkLength(std::uint64_t length, std::size_t limit) {
  if (length > limit) {
    throw EBer("Data value exceeds maximum allowed length " + std::to_string(length) + " > " +
               std::to_string(limit));
  }
}

// What the first byte of a REAL says. X.690, clause 8.5 has the infinities; the other two are this
// protocol's.
enum class RealForm : std::uint8_t {
  text = 0x00,
  plusInfinity = 0x40,
  minusInfinity = 0x41,
  notANumber = 0x60,
};

double realFromText(const std::uint8_t* bytes, std::size_t count) {
  try {
    return stringToReal({reinterpret_cast<const char*>(bytes), count});
  } catch (const error::EParseError&) {
    throw EBer("Parse error in real number");
  }
}

double realFrom(std::span<const std::uint8_t> content) {
  if (content.empty()) {
    return 0;
  }
  switch (static_cast<RealForm>(content.front())) {
    case RealForm::text:
      return realFromText(content.data() + 1, content.size() - 1);
    case RealForm::plusInfinity:
      return std::numeric_limits<double>::infinity();
    case RealForm::minusInfinity:
      return -std::numeric_limits<double>::infinity();
    case RealForm::notANumber:
      return 0;
  }
  throw EBer("Unsupported real number format revceived");
}

// Puts the content of a number into a buffer and returns its size.
std::size_t putContent(double value, std::span<std::uint8_t> content) {
  const auto special = [&](RealForm form) {
    content[0] = static_cast<std::uint8_t>(form);
    return std::size_t{1};
  };
  if (std::isnan(value)) {
    return special(RealForm::notANumber);
  }
  if (std::isinf(value)) {
    return special(value > 0 ? RealForm::plusInfinity : RealForm::minusInfinity);
  }
  if (value == 0) {
    return 0;
  }
  char* text = reinterpret_cast<char*>(content.data()) + special(RealForm::text);
  const std::size_t length = 1 + static_cast<std::size_t>(putScientific(text, value) - text);
  assertThat(length <= content.size(), "String representation of double larger than buffer");
  return length;
}

}  // namespace

bool readPlainReal(std::span<const std::uint8_t> content, double& value) {
  if (content.empty()) {
    value = 0;
    return true;
  }
  if (content.size() > BerReal::kMaxLength || content.front() != static_cast<std::uint8_t>(RealForm::text)) {
    return false;
  }
  const char* text = reinterpret_cast<const char*>(content.data());
  return readDecimal(text + 1, text + content.size(), value);
}

std::uint8_t* putRealItem(std::uint8_t* at, double value) {
  std::array<std::uint8_t, BerReal::kMaxLength> content;
  return putPrimitive(at, BE_REAL.current, {content.data(), putContent(value, content)});
}

// ---- BerShortValue ----

BerShortValue::BerShortValue(const BerShortValue& other)
    : BerPrimitive(true), maxLength_(other.maxLength_), length_(other.received_) {
  addData(other.content_, other.received_);
}

void BerShortValue::setLength(std::uint64_t length) {
  checkLength(length, maxLength_);
  length_ = static_cast<std::size_t>(length);
}

void BerShortValue::addData(const std::uint8_t* bytes, std::size_t count) {
  // A view is gone before the input is; an owned value is compared by its content later on.
  if (!owned() && count == length_) {
    content_ = bytes;
  } else {
    std::uint8_t* collected = buffer();
    std::copy_n(bytes, count, collected + received_);
    content_ = collected;
  }
  received_ += count;
}

std::uint8_t* BerShortValue::buffer() {
  if (length_ <= small_.size()) {
    return small_.data();
  }
  if (large_ == nullptr) {
    large_ = std::make_unique_for_overwrite<std::uint8_t[]>(length_);
  }
  return large_.get();
}

void BerShortValue::wipeCollected() noexcept {
  if (received_ != 0 && (content_ == small_.data() || content_ == large_.get())) {
    wipe(buffer(), received_);
  }
}

bool BerShortValue::equals(const BerValue& other) const {
  return sameClass(other) &&
         std::ranges::equal(content(), static_cast<const BerShortValue&>(other).content());
}

bool BerShortValue::less(const BerValue& other) const {
  return sameClass(other) && received_ < static_cast<const BerShortValue&>(other).received_;
}

// ---- The short values ----

void BerBoolean::readDone() { value() = !content().empty() && content().front() != 0; }

void BerBoolean::write(BasicIo& io, bool legacy) const {
  const std::uint8_t content = value() ? 1 : 0;
  writePrimitive(io, tag(legacy), {&content, 1});
}

void BerReal::readDone() { value() = realFrom(content()); }

void BerReal::write(BasicIo& io, bool legacy) const {
  std::array<std::uint8_t, kMaxLength> content;
  writePrimitive(io, tag(legacy), {content.data(), putContent(value(), content)});
}

void BerBigNum::readDone() { value().bn_set_data(content().data(), content().size()); }

void BerBigNum::write(BasicIo& io, bool legacy) const {
  // The key of -S is any number of digits.
  checkLength(value().dataCapacity(), kMaxLength);
  std::array<std::uint8_t, kMaxLength> content;
  std::size_t length = content.size();
  value().bn_get_data(content.data(), length);
  writePrimitive(io, tag(legacy), {content.data(), length});
  wipe(content.data(), length);
}

void BerNull::write(BasicIo& io, bool legacy) const { writePrimitive(io, tag(legacy), {}); }

template <class T>
void BerIntegerTemplate<T>::readDone() {
  const std::span<const std::uint8_t> content = this->content();
  if (content.size() > sizeof(T) && content.front() != 0) {
    throw EBer("data out of range in BerIntegerTemplate");
  }
  const T read = integerFrom<T>(content);
  checkBounds(read, "readDone");
  this->value() = read;
}

template <class T>
void BerIntegerTemplate<T>::write(BasicIo& io, bool legacy) const {
  checkBounds(this->value(), "write");
  if constexpr (std::numeric_limits<T>::is_signed) {
    writeSigned(io, tag(legacy), this->value());
  } else {
    writeUnsigned(io, tag(legacy), this->value());
  }
}

template <class T>
void BerIntegerTemplate<T>::checkBounds(T value, const char* place) const {
  if (value < low_ || value > high_) {
    throw EBer("data out of range in BerIntegerTemplate<" + typeName(typeid(T)) + ">::" + place + " " +
               std::to_string(low_) + " <= " + std::to_string(value) + " <= " + std::to_string(high_));
  }
}

template class BerIntegerTemplate<std::int32_t>;
template class BerIntegerTemplate<std::uint32_t>;
template class BerIntegerTemplate<std::int64_t>;
template class BerIntegerTemplate<std::uint64_t>;

// ---- BerString ----

namespace {

void checkLimit(std::uint64_t length, std::size_t limit) {
  if (length > limit) {
    throw EBer("String exceeds allowed length " + std::to_string(length) + " > " + std::to_string(limit));
  }
}

}  // namespace

void BerString::setLength(std::uint64_t length) { checkLimit(length, maxLength_); }

// Room is made for what has come, never for what was only announced.
void BerString::addData(const std::uint8_t* bytes, std::size_t count) {
  target_->append(reinterpret_cast<const char*>(bytes), count);
}

bool BerString::equals(const BerValue& other) const {
  return sameClass(other) && value() == static_cast<const BerString&>(other).value();
}

bool BerString::less(const BerValue& other) const {
  return sameClass(other) && value() < static_cast<const BerString&>(other).value();
}

void BerString::write(BasicIo& io, bool legacy) const {
  checkLimit(value().size(), maxLength_);
  writePrimitive(io, tag(legacy), {reinterpret_cast<const std::uint8_t*>(value().data()), value().size()});
}

// ---- Skippers ----

bool BerPrimitiveSkipper::equals(const BerValue& other) const { return sameClass(other); }

bool BerPrimitiveSkipper::less(const BerValue&) const {
  assertionFailed("Cannot call operator< for BerPrimitiveSkipper");
}

bool BerPrimitiveSkipper::greater(const BerValue&) const {
  assertionFailed("Cannot call operator> for BerPrimitiveSkipper");
}

void BerPrimitiveSkipper::write(BasicIo&, bool) const {
  assertionFailed("BerPrimitiveSkipper::write invoked");
}

BerValue* BerConstructedSkipper::makeField(std::uint32_t, std::uint32_t tag, bool, FieldSlot& slot) {
  return openSkipper(tag, slot);
}

bool BerConstructedSkipper::equals(const BerValue& other) const { return sameClass(other); }

bool BerConstructedSkipper::less(const BerValue&) const {
  assertionFailed("Cannot call operator< for BerConstructedSkipper");
}

bool BerConstructedSkipper::greater(const BerValue&) const {
  assertionFailed("Cannot call operator> for BerConstructedSkipper");
}

void BerConstructedSkipper::write(BasicIo&, bool) const {
  assertionFailed("BerConstructedSkipper::write invoked");
}

BerValue* openSkipper(std::uint32_t tag, FieldSlot& slot) {
  if (isConstructed(tag)) {
    return new BerConstructedSkipper(tag);  // the reader deletes it
  }
  return slot.emplace<BerPrimitiveSkipper>(tag);
}

}  // namespace morvex::protocol
