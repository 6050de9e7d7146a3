#pragma once

#include <string>
#include <type_traits>
#include <typeinfo>

#include "foundation/assertion.h"

namespace morvex {

// The name of a type as its source spells it: "unsigned int", "protocol::Response".
std::string typeName(const std::type_info& type);

// The same without the namespace: "Response".
std::string className(const std::type_info& type);

// Narrows a pointer to the class of its object. Another class is a defect of the caller.
// T is the wanted pointer type: checked_cast<const Domain*>(value).
template <class T, class From>
T checked_cast(From* pointer) {
  T narrowed = dynamic_cast<T>(pointer);
  if (narrowed == nullptr) [[unlikely]] {
    const std::string got = pointer == nullptr ? "(null)" : className(typeid(*pointer));
    const std::string wanted = className(typeid(std::remove_pointer_t<T>));
    assertionFailed("checked_cast failed, " + got + " should have been " + wanted);
  }
  return narrowed;
}

}  // namespace morvex
