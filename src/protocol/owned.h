#pragma once

#include <memory>
#include <utility>

#include "foundation/class_name.h"
#include "protocol/record.h"

namespace morvex::protocol {

// A member that may hold a T, and owns it: null until set, deeply copied with the record that holds it.
// T may be incomplete where the member is declared.
template <class T>
class Owned {
 public:
  Owned() = default;
  Owned(std::unique_ptr<T> value) : value_(value.release()) {}  // NOLINT(google-explicit-constructor)
  Owned(const Owned& other) : value_(other.value_ == nullptr ? nullptr : copyOf(*other.value_)) {}
  Owned(Owned&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
  Owned& operator=(Owned other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Owned() {
    if (value_ != nullptr) {
      discard(value_);
    }
  }

  T* get() { return static_cast<T*>(value_); }
  const T* get() const { return static_cast<const T*>(value_); }
  T& operator*() { return *get(); }
  const T& operator*() const { return *get(); }
  T* operator->() { return get(); }
  const T* operator->() const { return get(); }
  explicit operator bool() const { return value_ != nullptr; }

  // Replaces what is held by a new value of T, or of a class derived from it.
  template <class U = T, class... Arguments>
  U& emplace(Arguments&&... arguments) {
    auto made = std::make_unique<U>(std::forward<Arguments>(arguments)...);
    U& value = *made;
    *this = Owned(std::unique_ptr<T>(std::move(made)));
    return value;
  }

  // The bare pointer, for code that walks values without knowing their class.
  Record*& slot() { return value_; }
  const Record* base() const { return value_; }

 private:
  static Record* copyOf(const Record& value) { return checked_cast<T*>(value.clone().release()); }

  Record* value_ = nullptr;
};

}  // namespace morvex::protocol
