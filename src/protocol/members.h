#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
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

  // Sets it, to a value that the caller fills in.
  T& fill() {
    set_ = true;
    return value_;
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

// A member that holds one of several classes.
template <class... Alternatives>
class OneOf : public Owned<Record> {
 public:
  using Owned<Record>::Owned;

  template <class T>
  requires(std::same_as<T, Alternatives> || ...) T* as() {
    return get() != nullptr && typeid(*get()) == typeid(T) ? static_cast<T*>(get()) : nullptr;
  }
  template <class T>
  requires(std::same_as<T, Alternatives> || ...) const T* as() const {
    return const_cast<OneOf*>(this)->template as<T>();
  }
};

// The same for records that come by the million: it holds its record itself, unless that is far larger than
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

  Record* get() {
    return std::visit([](auto& held) { return address(held); }, value_);
  }
  const Record* get() const { return const_cast<OneOfInPlace*>(this)->get(); }
  explicit operator bool() const { return value_.index() != 0; }

 private:
  static constexpr std::size_t kRoom = 48;
  template <class T>
  static constexpr bool kFits = sizeof(T) <= kRoom;
  template <class T>
  using Stored = std::conditional_t<kFits<T>, T, Owned<T>>;

  static Record* address(std::monostate) { return nullptr; }
  static Record* address(Record& held) { return &held; }
  template <class T>
  static Record* address(Owned<T>& held) {
    return held.get();
  }

  std::variant<std::monostate, Stored<Alternatives>...> value_;
};

// The value of a NULL.
struct Null {
  friend bool operator==(Null, Null) { return true; }
  friend bool operator<(Null, Null) { return false; }
};

// A value of one of four primitive types, told apart by its tag. None until set.
using PlainValue = std::variant<std::monostate, std::int32_t, std::string, Null, double>;

}  // namespace morvex::protocol
