#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace morvex::tql {

// Cuts a TQL expression into tokens. A token's text is its meaning: a string literal keeps its quotes and a
// suffix, and holds the unescaped text between them.
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
