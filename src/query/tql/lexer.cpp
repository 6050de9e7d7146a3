#include "query/tql/lexer.h"

#include <string_view>

#include "foundation/errors.h"

namespace morvex::tql {
namespace {

// How a token of one character grows: by one of these, if it comes next.
struct Growth {
  char first;
  std::string_view next;
};

// Every row looks at the token's first character, so that "!=~" comes out as one token.
constexpr Growth kGrowths[] = {
    {'!', "="}, {'=', "="}, {'!', "~"}, {'~', "="}, {'<', "=>"}, {'>', "="},
};

}  // namespace

const std::string& Lexer::next() {
  token.clear();
  position = input.find_first_not_of(' ', position);
  if (position == std::string::npos) {
    position = input.size();
    return token;
  }
  const char first = input[position];
  if (isLetter(first)) {
    takeWord();
  } else if (first == '"') {
    takeString();
  } else if (isDigit(first) || isSign(first)) {
    takeNumber();
  } else {
    takeSymbol();
  }
  return token;
}

// word := letter { letter | digit | "_" }
void Lexer::takeWord() { takeRun(isWordPart); }

// string := '"' { character | "\" character } '"' [ "I" | "S" ]
void Lexer::takeString() {
  token = input[position++];
  for (;;) {
    const std::size_t end = input.find_first_of("\"\\", position);
    const bool isEscape = end != std::string::npos && input[end] == '\\';
    if (end == std::string::npos || (isEscape && end + 1 == input.size())) {
      throw error::EParseError("Unterminated string literal");
    }
    token.append(input, position, end - position);
    token += isEscape ? input[end + 1] : '"';
    position = end + (isEscape ? 2 : 1);
    if (!isEscape) {
      takeOneOf("IS");
      return;
    }
  }
}

// number := ( "+" | "-" | digit ) { digit } [ "T" | "B" ]
void Lexer::takeNumber() {
  token = input[position++];
  takeRun(isDigit);
  takeOneOf("TB");
}

void Lexer::takeSymbol() {
  token = input[position++];
  for (const Growth& growth : kGrowths) {
    if (token.front() == growth.first) {
      takeOneOf(growth.next);
    }
  }
}

void Lexer::takeRun(bool (*belongs)(char)) {
  const std::size_t begin = position;
  while (position < input.size() && belongs(input[position])) {
    ++position;
  }
  token.append(input, begin, position - begin);
}

void Lexer::takeOneOf(std::string_view characters) {
  if (position < input.size() && characters.find(input[position]) != std::string_view::npos) {
    token += input[position++];
  }
}

void unexpected(const char* expected, std::string_view token, const char* place) {
  std::string text = expected;
  text.append("\"").append(token).append("\"").append(place);
  throw error::EParseError(std::move(text));
}

}  // namespace morvex::tql
