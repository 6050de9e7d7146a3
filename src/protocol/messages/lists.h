#pragma once

#include <cstdint>
#include <string>

#include "protocol/field.h"

// The list and set classes of primitives. Those of records stand beside their records.
namespace morvex::protocol {

struct ListOfString128 : ListOf<std::string, upTo(128)> {
  using ListOf::ListOf;
};
struct ListOfString1024 : ListOf<std::string, upTo(1024)> {
  using ListOf::ListOf;
};
struct SetOfString32 : SetOf<std::string, upTo(32)> {
  using SetOf::SetOf;
};
struct SetOfString128 : SetOf<std::string, upTo(128)> {
  using SetOf::SetOf;
};
struct ListOfInteger0x0to0xffffffff : ListOf<std::uint32_t> {
  using ListOf::ListOf;
};
struct SetOfInteger0x0to0xffffffff : SetOf<std::uint32_t> {
  using SetOf::SetOf;
};
struct ListOfReal : ListOf<double> {
  using ListOf::ListOf;
};

}  // namespace morvex::protocol
