#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <typeinfo>
#include <utility>

#include "protocol/basic_io.h"

namespace morvex::protocol {

class BerPrimitive;
class BerConstructed;
class Record;
class FieldSlot;

// One item of a message, which is its model and its codec at once: it knows its tag, writes itself, and is
// filled piece by piece by the reader.
class BerValue {
 public:
  virtual ~BerValue() = default;

  virtual std::unique_ptr<BerValue> clone() const = 0;
  virtual std::uint32_t tag(bool legacy) const = 0;

  // All content has arrived: decode it, check it, store it. Throws EBer.
  virtual void readDone() {}

  // Behind ==, < and >. False if the other is not of the same class. For records < and > are no ordering:
  // every field has to be less, or greater.
  virtual bool equals(const BerValue& other) const = 0;
  virtual bool less(const BerValue& other) const = 0;
  virtual bool greater(const BerValue& other) const { return sameClass(other) && other.less(*this); }

  // Writes the whole item; the caller flushes. Throws EBer for a value beyond its bounds, and what the
  // stream throws.
  virtual void write(BasicIo& io, bool legacy) const = 0;

  // What kind of value this is; the other kinds give null. Cheaper than a cast, for code that asks often.
  virtual BerPrimitive* primitive() { return nullptr; }
  virtual BerConstructed* constructed() { return nullptr; }
  virtual Record* record() { return nullptr; }

 protected:
  BerValue() = default;
  BerValue(const BerValue&) = default;
  bool sameClass(const BerValue& other) const { return typeid(*this) == typeid(other); }
  BerValue& operator=(const BerValue&) = default;
};

inline bool operator==(const BerValue& left, const BerValue& right) { return left.equals(right); }
inline bool operator<(const BerValue& left, const BerValue& right) { return left.less(right); }
inline bool operator>(const BerValue& left, const BerValue& right) { return left.greater(right); }

// A value whose content arrives as bytes.
class BerPrimitive : public BerValue {
 public:
  BerPrimitive* primitive() final { return this; }

  // The length of the item, before any content. May refuse it with EBer.
  virtual void setLength(std::uint64_t length) = 0;

  // The next piece of content. The pieces add up to the length. readDone follows the last one directly,
  // while its bytes are still there.
  virtual void addData(const std::uint8_t* bytes, std::size_t count) = 0;

  // An owned value is itself the datum of a union field. Any other is a view: it fills a member of a record
  // and is gone once its item is complete.
  bool owned() const { return owned_; }

 protected:
  explicit BerPrimitive(bool owned) : owned_(owned) {}

 private:
  bool owned_;
};

// A value whose content arrives as child values.
class BerConstructed : public BerValue {
 public:
  BerConstructed* constructed() final { return this; }

  // The reader has met the tag of child number index, counted from 0. Returns the value that takes the
  // child: a view in slot, a member of this value, or a value on the heap that says readerOwned. Throws EBer.
  virtual BerValue* makeField(std::uint32_t index, std::uint32_t tag, bool legacy, FieldSlot& slot) = 0;

  // The short way for children that are plain: primitives, and records of primitives, lying whole at the
  // front of bytes. Takes as many as there are, with the same outcome as the long way through makeField,
  // counts them in index, and returns their size. It stops at the first child that isn't plain, or is at
  // fault, and leaves that to the long way.
  virtual std::size_t takePlain(std::uint32_t& index, std::span<const std::uint8_t> bytes, bool legacy) {
    (void)index, (void)bytes, (void)legacy;
    return 0;
  }

  // How many leading children must arrive.
  virtual std::uint32_t minFields() const = 0;

  // True when the reader deletes this value once its content is complete.
  virtual bool readerOwned() const = 0;

  // The class name for messages.
  virtual std::string name() const;
};

// Room for the one view that is being filled, so that decoding a primitive field takes no memory.
class FieldSlot {
 public:
  FieldSlot() = default;
  FieldSlot(const FieldSlot&) = delete;
  FieldSlot& operator=(const FieldSlot&) = delete;
  ~FieldSlot() { clear(); }

  template <class View, class... Arguments>
  View* emplace(Arguments&&... arguments) {
    static_assert(sizeof(View) <= kSize && alignof(View) <= alignof(std::max_align_t));
    clear();
    View* view = ::new (static_cast<void*>(storage_)) View(std::forward<Arguments>(arguments)...);
    view_ = view;
    return view;
  }

  bool holds(const BerPrimitive* value) const { return value != nullptr && value == view_; }

  void clear() {
    if (view_ != nullptr) {
      std::exchange(view_, nullptr)->~BerPrimitive();
    }
  }

 private:
  static constexpr std::size_t kSize = 128;
  alignas(std::max_align_t) std::byte storage_[kSize];
  BerPrimitive* view_ = nullptr;
};

// Deletes a value and all that is below it, however deep that goes: neither the stack nor the heap grows.
void discard(BerValue* value) noexcept;

}  // namespace morvex::protocol
