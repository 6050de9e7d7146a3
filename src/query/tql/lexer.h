#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace morvex::tql {

// The classes of characters in TQL: ASCII alone, whatever the locale. They hold no byte above it.
inline constexpr bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
inline constexpr bool isLower(char c) { return c >= 'a' && c <= 'z'; }
inline constexpr bool isLetter(char c) { return isUpper(c) || isLower(c); }
inline constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }
inline constexpr bool isSign(char c) { return c == '+' || c == '-'; }
inline constexpr bool isWordPart(char c) { return isLetter(c) || isDigit(c) || c == '_'; }

// Cuts a TQL expression into tokens. The token of a string literal keeps the quotes and the suffix, and the
// text between them is unescaped.
class Lexer {
 public:
  explicit Lexer(std::string text) : input(std::move(text)) {}

  // Reads the next token into token and returns it; empty at the end of the input.
  // Throws error::EParseError for a string without its end.
  const std::string& next();

  const std::string input;
  std::size_t position = 0;
  std::string token;

 private:
  void takeWord();
  void takeString();
  void takeNumber();
  void takeSymbol();
  void takeRun(bool (*belongs)(char));
  void takeOneOf(std::string_view characters);
};

// Refuses a token: throws error::EParseError with the token in quotes between the two texts.
[[noreturn]] void unexpected(const char* expected, std::string_view token, const char* place = "");

}  // namespace morvex::tql
