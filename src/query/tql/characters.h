#pragma once

// The classes of characters of TQL: ASCII alone, whatever the locale. A byte above is in none of them.
namespace morvex::tql {

inline constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
inline constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
inline constexpr bool isLetter(char c) { return isUpper(c) || isLower(c); }
inline constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline constexpr bool isSign(char c) { return c == '+' || c == '-'; }
inline constexpr bool isWordPart(char c) { return isLetter(c) || isDigit(c) || c == '_'; }

}  // namespace morvex::tql
