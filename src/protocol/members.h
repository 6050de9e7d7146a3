#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <variant>
#include <vector>

#include "foundation/assertion.h"
#include "protocol/owned.h"
#include "protocol/record.h"
#include "protocol/tag.h"

// What the members of records can be, beside numbers, texts and records.
namespace morvex::protocol {

// An integer that may be missing, which is not the same as 0.
template <class T>
class Nullable {
 public:
  Nullable() = default;
  Nullable(T value) : value_(value), set_(true) {}  // NOLINT(google-explicit-constructor)

  bool isSet() const { return set_; }
  T value() const {
    assertThat(set_, "Value of null taken");
    return value_;
  }

  // For the view that fills it.
  T* fill() {
    set_ = true;
    return &value_;
  }

  friend bool operator==(const Nullable&, const Nullable&) = default;
  friend bool operator<(const Nullable& a, const Nullable& b) {
    return a.set_ && b.set_ && a.value_ < b.value_;
  }
  friend bool operator>(const Nullable& a, const Nullable& b) { return b < a; }

 private:
  T value_ = 0;
  bool set_ = false;
};

// The containers of the list and set classes. Their elements are primitives, records, or Owned<Record> where
// the record may nest in itself: how deep that goes is the sender's choice, and Owned takes it down without
// recursion. A set travels like a list, in its own order and with its duplicates; only the tag differs.
template <class T, Bounds kElementBounds = Bounds{}>
struct ListOf : std::vector<T> {
  using std::vector<T>::vector;
  static constexpr Tag kTag = BE_SEQ;
  static constexpr Bounds kBounds = kElementBounds;
};
template <class T, Bounds kElementBounds = Bounds{}>
struct SetOf : std::vector<T> {
  using std::vector<T>::vector;
  static constexpr Tag kTag = BE_SET;
  static constexpr Bounds kBounds = kElementBounds;
};
// Lists whose elements are what users know as rows say so by kRows, and then g_traffic.rows counts these on
// their way.
template <class L>
inline constexpr bool kHoldsRows = requires {
  L::kRows;
};

// A list that may grow long: its records stay where they are when it grows. A shorter one is better off with
// ListOf, which takes no memory while it is empty.
template <class T>
struct LongListOf : std::deque<T> {
  using std::deque<T>::deque;
  static constexpr Tag kTag = BE_SEQ;
  static constexpr Bounds kBounds{};
};
template <class T>
concept ListClass = requires {
  typename T::value_type;
  { T::kTag } -> std::convertible_to<Tag>;
};

// How an alternative of a union is told and made. Records bring their own tag.
template <class T>
struct Alternative {
  static std::uint32_t tag(bool legacy) { return T::kSchema.tag.word(legacy); }
  static std::unique_ptr<BerValue> make() { return std::make_unique<T>(); }
};

// A member that holds one of several classes.
template <class... Alternatives>
class OneOf : public Owned<BerValue> {
 public:
  using Owned<BerValue>::Owned;

  template <class T>
  requires(std::same_as<T, Alternatives> || ...) T* as() {
    return get() != nullptr && typeid(*get()) == typeid(T) ? static_cast<T*>(get()) : nullptr;
  }
  template <class T>
  requires(std::same_as<T, Alternatives> || ...) const T* as() const {
    return const_cast<OneOf*>(this)->template as<T>();
  }

  // The alternative with this tag; null if there is none.
  static std::unique_ptr<BerValue> make(std::uint32_t tag, bool legacy) {
    std::unique_ptr<BerValue> made;
    (void)((Alternative<Alternatives>::tag(legacy) == tag &&
            (made = Alternative<Alternatives>::make()) != nullptr) ||
           ...);
    return made;
  }
};

// The same for records that come by the million: it holds its value itself, unless that is far larger than
// the others.
template <class... Alternatives>
class OneOfInPlace {
 public:
  template <class T>
  requires(std::same_as<T, Alternatives> || ...) T* as() {
    Stored<T>* held = std::get_if<Stored<T>>(&value_);
    return held == nullptr ? nullptr : static_cast<T*>(address(*held));
  }
  template <class T>
  requires(std::same_as<T, Alternatives> || ...) const T* as() const {
    return const_cast<OneOfInPlace*>(this)->template as<T>();
  }

  // Replaces what is held by a new value of T.
  template <class T>
  T& emplace() {
    if constexpr (kFits<T>) {
      return value_.template emplace<T>();
    } else {
      return *value_.template emplace<Owned<T>>(std::make_unique<T>());
    }
  }

  // By a new value of the alternative with this tag; null if there is none, and nothing is replaced.
  BerValue* emplace(std::uint32_t tag, bool legacy) {
    BerValue* made = nullptr;
    (void)((Alternative<Alternatives>::tag(legacy) == tag && (made = &emplace<Alternatives>()) != nullptr) ||
           ...);
    return made;
  }

  BerValue* get() {
    return std::visit([](auto& held) { return address(held); }, value_);
  }
  const BerValue* get() const { return const_cast<OneOfInPlace*>(this)->get(); }
  explicit operator bool() const { return value_.index() != 0; }

 private:
  static constexpr std::size_t kRoom = 48;
  template <class T>
  static constexpr bool kFits = sizeof(T) <= kRoom;
  template <class T>
  using Stored = std::conditional_t<kFits<T>, T, Owned<T>>;

  static BerValue* address(std::monostate) { return nullptr; }
  static BerValue* address(BerValue& held) { return &held; }
  template <class T>
  static BerValue* address(Owned<T>& held) {
    return held.get();
  }

  std::variant<std::monostate, Stored<Alternatives>...> value_;
};

}  // namespace morvex::protocol
