#include "query/tql/lexer.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "support/wire.h"

using namespace morvex;

TEST(Lexer, CutsTheInputIntoTokens) {
  // The tokens with a blank behind each.
  const std::pair<const char*, const char*> rows[] = {
      {"   ", ""},
      {"Node_2*x _a", "Node_2 * x _ a "},
      {R"("a"I"b"S"c"B "a\"b\\c\d"  "")", R"("a"I "b"S "c" B "a"b\cd" "" )"},
      {"+-1-2T3B4TB x5T", "+ -1 -2T 3B 4T B x5T "},
      {"!=~ !~= ==~ ~==", "!=~ !~ = == ~ ~= = "},
      {"<=> <>= >=> >>< < = ! ~", "<= > <> = >= > > > < < = ! ~ "},
      {"[{(,|:.)}]&$#*\t\n\xC3\xA5z", "[ { ( , | : . ) } ] & $ # * \t \n \xC3 \xA5 z "},
  };
  for (const auto& [input, expected] : rows) {
    tql::Lexer lexer(input);
    std::string tokens;
    while (!lexer.next().empty()) {
      tokens += lexer.token + " ";
    }
    EXPECT_EQ(tokens, expected);
    EXPECT_EQ(lexer.position, lexer.input.size());
  }
  for (const char* input : {"\"", "\"ab", "\"ab\\", "\"ab\\\""}) {
    EXPECT_EQ(textOf<error::EParseError>([&] { tql::Lexer(input).next(); }), "Unterminated string literal");
  }
}
