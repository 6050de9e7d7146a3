#include "commands/object_path.h"

#include <gmock/gmock.h>

#include <random>

#include "commands/support.h"
#include "foundation/errors.h"

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

TEST(ObjectPath, TwoLevelsOfJoiningAreTakenAwayByTwoSplits) {
  std::mt19937 random(20030325);
  const auto randomNames = [&random] {
    Names names(1 + random() % 4);
    for (std::string& name : names) {
      for (auto length = random() % 8; length > 0; --length) {
        name += R"(.,^\ab)"[random() % 6];
      }
    }
    return names;
  };
  for (int trial = 0; trial < 2000; ++trial) {
    const Names domains = randomNames(), checks = randomNames();
    const std::string path =
        joinEscaped(Names{joinEscaped(domains, '.').substr(1), joinEscaped(checks, '^').substr(1)}, ',');
    const Names parts = split(path, ',');
    ASSERT_EQ(parts.size(), 2U) << path;
    ASSERT_EQ(split('.' + parts.front(), '.'), domains) << path;
    ASSERT_EQ(split('^' + parts.back(), '^'), checks) << path;
  }
}

TEST(ObjectPath, ExpressionNamesEachStep) {
  const auto path = [](const char* text, const char* properties) {
    return pathExpression(text, false, properties);
  };
  EXPECT_EQ(path(".", "*"), "Domain!");
  EXPECT_EQ(path(".,x", "a, b"),
            R"(Domain[siblingName, a, b] > Node[siblingName, a, b] { siblingName = "x" })");
  EXPECT_EQ(path("a.b", "*"), R"(Domain[siblingName] > Domain[siblingName] { siblingName = "a" })"
                              R"( > Domain! { siblingName = "b" })");
  EXPECT_EQ(path("a,box,c^d", "x"),
            R"(Domain[siblingName] > Domain[siblingName] { siblingName = "a" })"
            R"( > Node[siblingName] { siblingName = "box" })"
            R"( > .[siblingName] { siblingName = "c" } > .[siblingName, x] { siblingName = "d" })");
  EXPECT_EQ(path(R"(a\\.b.,n\,\",)", ""),
            R"(Domain[siblingName] > Domain[siblingName] { siblingName = "a.b" })"
            R"( > Domain[siblingName] { siblingName = "" } > Node[siblingName] { siblingName = "n,\"" })"
            R"( > .[siblingName] { siblingName = "" })");
  EXPECT_EQ(pathExpression("a\"b", true, "*"), R"(.*[siblingName] > .! { id = "a"b" })");
}

}  // namespace
