#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>

#include "foundation/big_num.h"
#include "protocol/ber_value.h"
#include "protocol/encoding.h"
#include "protocol/tag.h"

// The primitives. A view is built on a member of a record for the span of one write or one read. The four
// that a union field can hold (int, real, string, null) can also own their value. A copy always owns.
namespace morvex::protocol {

// The number in the content of an INTEGER or ENUMERATED: two's complement, or without a sign.
template <class T>
T integerFrom(std::span<const std::uint8_t> content) {
  if (content.size() == 1) {  // as counts are, nearly always
    return std::numeric_limits<T>::is_signed ? static_cast<T>(static_cast<std::int8_t>(content.front()))
                                             : static_cast<T>(content.front());
  }
  if (content.size() == 4) {  // and times
    const std::uint32_t bits = std::uint32_t{content[0]} << 24U | std::uint32_t{content[1]} << 16U |
                               std::uint32_t{content[2]} << 8U | content[3];
    return std::numeric_limits<T>::is_signed ? static_cast<T>(static_cast<std::int32_t>(bits))
                                             : static_cast<T>(bits);
  }
  const bool negative = std::numeric_limits<T>::is_signed && !content.empty() && content.front() >= 0x80;
  std::uint64_t bits = negative ? ~std::uint64_t{0} : 0;
  for (const std::uint8_t byte : content) {
    bits = bits << 8U | byte;
  }
  return static_cast<T>(bits);
}

// The content of a number that arrived whole. False for what only the long way through a view can take or
// refuse; value is then untouched.
template <class T>
bool readPlainInteger(std::span<const std::uint8_t> content, T low, T high, T& value) {
  if (content.size() > sizeof(T)) {
    return false;
  }
  const T read = integerFrom<T>(content);
  if (read < low || read > high) {
    return false;
  }
  value = read;
  return true;
}
bool readPlainReal(std::span<const std::uint8_t> content, double& value);

// Puts a whole REAL into room of kItemRoom bytes, and returns its end.
std::uint8_t* putRealItem(std::uint8_t* at, double value);

// A primitive whose content is collected, and decoded at readDone.
class BerShortValue : public BerPrimitive {
 public:
  void setLength(std::uint64_t length) final;
  void addData(const std::uint8_t* bytes, std::size_t count) final;

  // Two of these compare by the content that was received: == by its bytes, < and > by its length alone.
  bool equals(const BerValue& other) const final;
  bool less(const BerValue& other) const final;

 protected:
  BerShortValue(bool isOwned, std::size_t maxLength) : BerPrimitive(isOwned), maxLength_(maxLength) {}
  BerShortValue(const BerShortValue& other);
  BerShortValue& operator=(const BerShortValue&) = delete;

  std::span<const std::uint8_t> content() const { return {content_, received_}; }
  // For secrets: clears what was collected here. The input is its owner's.
  void wipeCollected() noexcept;

 private:
  static constexpr std::size_t kInlineSize = 16;

  std::uint8_t* buffer();

  std::size_t maxLength_;
  std::size_t length_ = 0;
  std::size_t received_ = 0;
  const std::uint8_t* content_ = nullptr;  // the bytes as they lie in the input, or the buffer
  std::array<std::uint8_t, kInlineSize> small_;
  std::unique_ptr<std::uint8_t[]> large_;  // for content beyond small_
};

// A short value with a C++ value behind it: a member of a record, or its own.
template <class T>
class BerShortOf : public BerShortValue {
 public:
  const T& value() const { return *target_; }
  T& value() { return *target_; }

 protected:
  BerShortOf(T* member, std::size_t maxLength) : BerShortValue(false, maxLength), target_(member) {}
  explicit BerShortOf(std::size_t maxLength) : BerShortValue(true, maxLength), target_(&own_) {}
  BerShortOf(const BerShortOf& other) : BerShortValue(other), own_(other.value()), target_(&own_) {}
  BerShortOf& operator=(const BerShortOf&) = delete;

 private:
  T own_{};
  T* target_;
};

class BerBoolean final : public BerShortOf<bool> {
 public:
  explicit BerBoolean(bool* member) : BerShortOf(member, 1) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerBoolean>(*this); }
  std::uint32_t tag(bool) const override { return BE_BOOLEAN.current; }
  void readDone() override;
  void write(BasicIo& io, bool legacy) const override;
};

// A decimal text, an infinity, or a NaN; a NaN reads back as 0.
class BerReal final : public BerShortOf<double> {
 public:
  static constexpr std::size_t kMaxLength = 60;

  BerReal() : BerShortOf(kMaxLength) {}
  explicit BerReal(double* member) : BerShortOf(member, kMaxLength) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerReal>(*this); }
  std::uint32_t tag(bool) const override { return BE_REAL.current; }
  void readDone() override;
  void write(BasicIo& io, bool legacy) const override;
};

// The magnitude alone: unlike an INTEGER of X.690 it has no sign bit, and zero is empty.
class BerBigNum final : public BerShortOf<BigNum> {
 public:
  static constexpr std::size_t kMaxLength = 1040;

  explicit BerBigNum(BigNum* member) : BerShortOf(member, kMaxLength) {}
  BerBigNum(const BerBigNum&) = default;
  ~BerBigNum() override { wipeCollected(); }  // session keys travel as these
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerBigNum>(*this); }
  std::uint32_t tag(bool) const override { return BE_INTEGER.current; }
  void readDone() override;
  void write(BasicIo& io, bool legacy) const override;
};

class BerNull final : public BerShortValue {
 public:
  BerNull() : BerShortValue(true, 0) {}
  // Stands in for a member, which it leaves alone.
  explicit BerNull(const void* member) : BerShortValue(member == nullptr, 0) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerNull>(); }
  std::uint32_t tag(bool) const override { return BE_NULL.current; }
  void write(BasicIo& io, bool legacy) const override;
};

// T is one of the four integers of 32 and 64 bits.
template <class T>
class BerIntegerTemplate final : public BerShortOf<T> {
 public:
  // An unsigned value with its top bit set takes a leading zero byte.
  static constexpr std::size_t kMaxLength = sizeof(T) + (std::numeric_limits<T>::is_signed ? 0 : 1);

  BerIntegerTemplate() : BerShortOf<T>(kMaxLength) {}
  BerIntegerTemplate(T* member, T low, T high) : BerShortOf<T>(member, kMaxLength), low_(low), high_(high) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerIntegerTemplate>(*this); }
  std::uint32_t tag(bool) const override { return BE_INTEGER.current; }
  void readDone() override;
  void write(BasicIo& io, bool legacy) const override;

 private:
  void checkBounds(T value, const char* place) const;

  T low_ = std::numeric_limits<T>::min();
  T high_ = std::numeric_limits<T>::max();
};

extern template class BerIntegerTemplate<std::int32_t>;
extern template class BerIntegerTemplate<std::uint32_t>;
extern template class BerIntegerTemplate<std::int64_t>;
extern template class BerIntegerTemplate<std::uint64_t>;

// Enum has std::int32_t behind it. No range is checked: peers may know values that this program does not.
template <class Enum>
class BerEnumerated final : public BerShortOf<Enum> {
 public:
  explicit BerEnumerated(Enum* member) : BerShortOf<Enum>(member, 4) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerEnumerated>(*this); }
  std::uint32_t tag(bool) const override { return BE_ENUMERATED.current; }
  void readDone() override { this->value() = static_cast<Enum>(integerFrom<std::int32_t>(this->content())); }
  void write(BasicIo& io, bool) const override {
    writeEnumerated(io, static_cast<std::int32_t>(this->value()));
  }
};

// Any bytes. What arrives is appended to the string, which therefore must be empty.
class BerString final : public BerPrimitive {
 public:
  explicit BerString(std::size_t maxLength) : BerPrimitive(true), maxLength_(maxLength), target_(&own_) {}
  BerString(std::string* member, std::size_t maxLength)
      : BerPrimitive(false), maxLength_(maxLength), target_(member) {}
  BerString(const BerString& other)
      : BerPrimitive(true), maxLength_(other.maxLength_), own_(other.value()), target_(&own_) {}
  BerString& operator=(const BerString&) = delete;

  const std::string& value() const { return *target_; }
  std::string& value() { return *target_; }

  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerString>(*this); }
  std::uint32_t tag(bool legacy) const override { return BE_STRING.word(legacy); }
  void setLength(std::uint64_t length) override;
  void addData(const std::uint8_t* bytes, std::size_t count) override;
  bool equals(const BerValue& other) const override;
  bool less(const BerValue& other) const override;
  void write(BasicIo& io, bool legacy) const override;

 private:
  std::size_t maxLength_;
  std::string own_;
  std::string* target_;
};

// Swallow what a newer peer put behind the fields that this program knows.
class BerPrimitiveSkipper final : public BerPrimitive {
 public:
  explicit BerPrimitiveSkipper(std::uint32_t tagWord) : BerPrimitive(false), tag_(tagWord) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerPrimitiveSkipper>(*this); }
  std::uint32_t tag(bool) const override { return tag_; }
  void setLength(std::uint64_t) override {}
  void addData(const std::uint8_t*, std::size_t) override {}
  bool equals(const BerValue& other) const override;
  bool less(const BerValue& other) const override;
  bool greater(const BerValue& other) const override;
  void write(BasicIo& io, bool legacy) const override;

 private:
  std::uint32_t tag_;
};

class BerConstructedSkipper final : public BerConstructed {
 public:
  explicit BerConstructedSkipper(std::uint32_t tagWord) : tag_(tagWord) {}
  std::unique_ptr<BerValue> clone() const override { return std::make_unique<BerConstructedSkipper>(*this); }
  std::uint32_t tag(bool) const override { return tag_; }
  BerValue* makeField(std::uint32_t index, std::uint32_t tag, bool legacy, FieldSlot& slot) override;
  std::uint32_t minFields() const override { return 0; }
  bool readerOwned() const override { return true; }
  bool equals(const BerValue& other) const override;
  bool less(const BerValue& other) const override;
  bool greater(const BerValue& other) const override;
  void write(BasicIo& io, bool legacy) const override;

 private:
  std::uint32_t tag_;
};

// The skipper for a child with this tag.
BerValue* openSkipper(std::uint32_t tag, FieldSlot& slot);

}  // namespace morvex::protocol
