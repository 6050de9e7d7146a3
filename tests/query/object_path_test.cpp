#include "query/object_path.h"

#include <gmock/gmock.h>

#include "foundation/errors.h"
#include "support/text_of.h"

using namespace morvex;

namespace {

using testing::ElementsAre;
using Names = std::vector<std::string>;

Names split(std::string_view text, char delimiter) {
  std::list<std::string> names{"kept"};
  splitEscaped(names, text, delimiter);
  return {std::next(names.begin()), names.end()};
}

TEST(ObjectPath, SplitsAtUnescapedDelimiters) {
  EXPECT_EQ(split("", ','), Names{});
  EXPECT_THAT(split(",", ','), ElementsAre(""));
  EXPECT_THAT(split(",a,,b,", ','), ElementsAre("a", "", "b", ""));
  EXPECT_THAT(split(R"(.a\.b.\x\\.c\)", '.'), ElementsAre("a.b", "x\\", "c"));
  EXPECT_EQ(textOf<error::EParseError>([] { split("a,b", ','); }),
            "String does not contain delimiter as first character");
}

TEST(ObjectPath, JoinsAndQuotes) {
  EXPECT_EQ(joinEscaped({}, '^'), "");
  EXPECT_EQ(joinEscaped(Names{"a^b", R"(c\)", "", "d.e"}, '^'), R"(^a\^b^c\\^^d.e)");
  EXPECT_EQ(quoteTqlString("a\"b\\c'\n"), "\"a\\\"b\\\\c'\n\"");
}

TEST(ObjectPath, ExpressionNamesEachStep) {
  const struct {
    const char *path, *properties;
    std::string expression;
  } rows[] = {
      {".,x", "a, b", R"(Domain[siblingName, a, b] > Node[siblingName, a, b] { siblingName = "x" })"},
      {"a,box,c^d", "x",
       R"(Domain[siblingName] > Domain[siblingName] { siblingName = "a" })"
       R"( > Node[siblingName] { siblingName = "box" })"
       R"( > .[siblingName] { siblingName = "c" } > .[siblingName, x] { siblingName = "d" })"},
      {R"(a\\.b.,n\,\",)", "",
       R"(Domain[siblingName] > Domain[siblingName] { siblingName = "a.b" })"
       R"( > Domain[siblingName] { siblingName = "" } > Node[siblingName] { siblingName = "n,\"" })"
       R"( > .[siblingName] { siblingName = "" })"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(pathExpression(row.path, false, row.properties), row.expression);
  }
  EXPECT_EQ(pathExpression("a\"b", true, "*"), R"(.*[siblingName] > .! { id = "a"b" })");
}

}  // namespace
