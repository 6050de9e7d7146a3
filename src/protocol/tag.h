#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace morvex::protocol {

// Inside the program a BER tag is one word: the tag number times 8, plus the class times 2 (0 universal,
// 1 application, 2 context-specific, 3 private), plus 1 for a constructed value.
// Every value knows its tag in two tag sets; a bool named legacy selects one throughout this room.
struct Tag {
  std::uint32_t current;
  std::uint32_t legacy;
  std::string_view name = {};

  constexpr std::uint32_t word(bool inLegacy) const { return inLegacy ? legacy : current; }

  // The name for messages, as in "BE_INTEGER"; it ends in _CURRENT or _LEGACY where the sets differ.
  std::string nameIn(bool inLegacy) const;
};

inline constexpr bool isConstructed(std::uint32_t tagWord) { return (tagWord & 1U) != 0; }

// The tag as the one byte that most have on the wire; 0 for a number that takes more. The tag of the byte 0
// ends an indefinite length, so no value has it.
constexpr std::uint8_t identifierOctet(std::uint32_t tagWord) {
  return tagWord < 31 * 8 ? static_cast<std::uint8_t>((tagWord & 7U) << 5U | tagWord >> 3U) : std::uint8_t{0};
}

// Universal tags: ITU-T X.690 and X.680, clause 8.6. The legacy set has its own for strings and sequences.
inline constexpr Tag BE_BOOLEAN{8, 8, "BE_BOOLEAN"};
inline constexpr Tag BE_INTEGER{16, 16, "BE_INTEGER"};
inline constexpr Tag BE_STRING{32, 176, "BE_STRING"};
inline constexpr Tag BE_NULL{40, 40, "BE_NULL"};
inline constexpr Tag BE_REAL{72, 72, "BE_REAL"};
inline constexpr Tag BE_ENUMERATED{80, 80, "BE_ENUMERATED"};
inline constexpr Tag BE_SEQ{129, 1, "BE_SEQ"};
inline constexpr Tag BE_SET{137, 9, "BE_SET"};

// A record that is an element or a field: a sequence with a name of its own.
consteval Tag sequence(std::string_view name) { return {BE_SEQ.current, BE_SEQ.legacy, name}; }

// A message at the top of the stream.
consteval Tag application(std::uint32_t number) { return {number * 8 + 3, number * 8 + 3}; }

// One of the classes that a union field can hold.
consteval Tag alternative(std::uint32_t number) { return {number * 8 + 5, number * 8 + 3}; }

}  // namespace morvex::protocol
