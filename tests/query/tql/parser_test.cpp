#include "query/tql/parser.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "query/tql/constant.h"
#include "support/wire.h"

using namespace morvex;

namespace {

struct Row {
  std::string expression, outcome;
};

// "Node/flags =number [name name] {operator name & operator name} > (step | step : step)"
std::string dump(const protocol::PathPattern& step) {
  const auto part = [](const std::string& open, const auto& rows, const char* between, auto textOf,
                       const char* close = "") {
    std::string text;
    for (const auto& row : rows) {
      text.append(text.empty() ? open : between).append(textOf(row));
    }
    return text.empty() ? text : text + close;
  };
  const auto next = [](const auto& row) { return dump(*row); };
  const auto name = [](const std::string& text) { return text; };
  const auto term = [](const auto& row) {
    return std::to_string(static_cast<int>(row->op)) + " " + row->prop->name;
  };
  const std::string below =
      part("", step.children, " | ", next) + part(" : ", step.colonChildren, " | ", next);
  return step.className + (step.flags == 0 ? "" : "/" + std::to_string(step.flags)) +
         (step.number.isSet() ? " =" + std::to_string(step.number.value()) : "") +
         part(" [", step.properties, " ", name, "]") + part(" {", step.filter, " & ", term, "}") +
         (below.empty() ? "" : " > (" + below + ")");
}

TEST(Parser, BuildsTheTreeOfSteps) {
  const Row rows[] = {
      {"Node[siblingName] > CheckGroup*[siblingName]> Check$[siblingName,longLabel] { active = true } > .",
       "Node [siblingName] > (CheckGroup/1 [siblingName] > (Check/4 [siblingName longLabel] "
       "{0 active} > (.)))"},
      {"A**!$#- =007[b,b]", "A/31 =7 [b b]"},
      {"A* > B! > C$ > D# > E-", "A/1 > (B/2 > (C/4 > (D/8 > (E/16))))"},
      {"Node! =4294967298", "Node/2 =2"},
      {"Node { true }", "Node"},
      {"N { true & in in {} and and=false & c=1 }", "N {8 in & 0 and & 0 c}"},
      {"N { a == 1 & a != 1 }", "N {0 a & 5 a}"},
      {"A > (B | C : D)", "A > (B | C : D)"},
      {"A > (B > C | D > (E : F > (G : H) | I) : J | K > L)",
       "A > (B > (C) | D > (E : F > (G : H) | I) : J | K > (L))"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(dump(*tql::parse(row.expression)), row.outcome);
  }
}

TEST(Parser, ReadsConstantsByTheirForm) {
  const Row rows[] = {
      {R"(a="x"I)", "02 01 07 A0 80 04 01 'x'"},
      {R"(a=""I)", "02 01 07 A6 80"},
      {R"(a="x"S)", "02 01 0F A0 80 04 01 'x'"},
      {R"(a=""S)", "02 01 0F A0 80 04 00"},
      {R"(id="")", "02 01 07 A0 80 04 00"},
      {R"(id="x"S)", "02 01 0F A0 80 04 01 'x'"},
      {R"(a="q\"I")", "02 01 06 A0 80 04 03 'q\"I'"},
      {R"(a={})", "02 01 08 A1 80 30 80 00 00"},
      {R"(a={"x", "y"})", "02 01 08 A1 80 30 80 04 01 'x' 04 01 'y' 00 00"},
      {R"(a={[,"x"I})", "02 01 08 A1 80 30 80 04 00 04 02 'x\"' 00 00"},
      {"a=+5", "02 01 03 A2 80 02 01 05"},
      {"a=-7", "02 01 03 A2 80 02 01 F9"},
      {"a=-", "02 01 03 A2 80 02 01 00"},
      {"a=+", "02 01 03 A2 80 02 01 00"},
      {"a=-2147483648", "02 01 03 A2 80 02 04 80 00 00 00"},
      {"a=+4294967295", "02 01 03 A2 80 02 01 FF"},
      {"a=4294967295", "02 01 02 A3 80 02 05 00 FF FF FF FF"},
      {"a=4294967296", "02 01 02 A3 80 02 01 00"},
      {"a=18446744073709551615T", "02 01 0A A3 80 02 05 00 FF FF FF FF"},
      {"a=18446744073709551616B", "02 01 12 AB 80 02 09 01 00 00 00 00 00 00 00 00"},
      {"a=1000000000000000000000000001B", "02 01 12 AB 80 02 0C 03 3B 2E 3C 9F D0 80 3C E8 00 00 01"},
      {"a=0B", "02 01 12 AB 80 02 00"},
      {"a=false", "02 01 01 A5 80 01 01 00"},
      {"a=bool_null", "02 01 01 A6 80"},
      {"a=ES_ALERT", "02 03 01 00 05 A3 80 02 01 0D"},
      {"a=NOTIFY_AsAlert", "02 03 01 00 0E A3 80 02 01 02"},
      {"a=RIF_Table", "02 03 01 00 09 A3 80 02 01 08"},
      {"a=NRT_Grouping", "02 03 01 00 15 A3 80 02 01 04"},
  };
  for (const auto& [expression, outcome] : rows) {
    const std::string name =
        expression.starts_with("id") ? "04 02 'id'" : "04 01 '" + expression.substr(0, 1) + "'";
    EXPECT_EQ(writtenHex(*tql::parse("N{" + expression + "}")->filter[0]->prop),
              plainHex("30 80" + name + outcome + "00 00 00 00"))
        << expression;
  }
}

TEST(Parser, NumbersOperators) {
  std::uint32_t number = 0;
  for (const std::string& word :
       splitToList("= > < >= <= <> ~= !~ in intersects subsetof supersetof isubstr", ' ', false)) {
    EXPECT_EQ(static_cast<std::uint32_t>(tql::parse("N{a " + word + " 0}")->filter[0]->op), number++) << word;
  }
}

const Row kRefusals[] = {
    {"   ", R"(Expected class name got: "")"},
    {"node", R"(Expected class name got: "node")"},
    {"A > (B | )", "Expected class name got: \")\""},
    {"Node=x", R"(Expected constant got: "x" after parsing '='(1).)"},
    {"Node=", R"(Expected constant got: "" after parsing '='(1).)"},
    {"Node=5T", R"(Expected constant(2) got: "5T" after parsing '='(2).)"},
    {"Node[]", R"(Expected property name got: "]" after parsing '[')"},
    {"Node[a,]", R"(Expected property name got: "]" after parsing '[')"},
    {"Node[a b]", R"(Expected ] got: "b")"},
    {"Node{}", R"(Expected property name got: "}" after parsing '{')"},
    {"N{a !=~ 1}", R"(Expected relational operator got: "!=~")"},
    {"N{a =", R"(Expected constant got: "" (blank))"},
    {"N{true = 1}", R"(Expected } got: "=")"},
    {"N{a = -5T}", R"(Expected constant got: "-5T" after parsing '+/-')"},
    {"N{a = ES_good}", R"(Expected constant got: "ES_good" (ES_unknown))"},
    {"N{a = NOTIFY_}", R"(Expected constant got: "NOTIFY_" (NOTIFY_unknown)"},
    {"N{a = RIF_x}", R"(Expected constant got: "RIF_x" (RIF_unknown))"},
    {"N{a = NRT_x}", R"(Expected constant got: "NRT_x" (NRT_unknown))"},
    {"N{a = }", R"(Expected constant but got: "}")"},
    {"N{a = {\"x\",}}", R"(Expected id got: "}")"},
    {"N{a = {\"x\" \"y\"}}", R"(Expected } but got: ""y"")"},
    {"A > (B | C", R"(Expected ) got: "")"},
    {"A > (B : C : D)", R"(Expected ) got: ":")"},
    {"A > (B > (C) > D)", R"(Expected ) got: ">")"},
    {"A > (B : C) > D", "Extra input at end of expression"},
    {"A | B", "Extra input at end of expression"},
    {"Node-5", "Extra input at end of expression"},
    {"Node!=3", "Extra input at end of expression"},
    {"Node{a=1}[b]", "Extra input at end of expression"},
    {"Node[a]>=", "Extra input at end of expression"},
    {R"(N{a = "\)", "Unterminated string literal"},
};

TEST(Parser, SaysWhatItDidNotExpect) {
  for (const Row& row : kRefusals) {
    EXPECT_EQ(textOf<error::EParseError>([&] { tql::parse(row.expression); }),
              row.outcome + ": parsing " + row.expression);
  }
  protocol::Property property;  // the lexer makes no such token
  EXPECT_EQ(textOf<error::EParseError>([&] { tql::encodeConstant(property, "a", "1T2"); }),
            R"(Expected constant got: "1T2" parsing uint or tsdb idx.)");
}

TEST(Parser, RefusesNumbersBeyondTheirForm) {
  const std::string huge(1000000, '9');
  const std::string ten2504 = "1" + std::string(2504, '0');  // 8319 bits; a message carries 8320
  EXPECT_EQ(tql::parse("N{a=" + ten2504 + "B & b=" + std::string(1000000, '0') + "}")->filter.size(), 2U);
  const Row ranges[] = {{"18446744073709551616", "65"}, {ten2504 + "T", "8319"}, {ten2504 + "0", "8322"}};
  for (const auto& [number, bits] : ranges) {
    EXPECT_EQ(textOf<error::ERange>([&, text = number] { tql::parse("N{a=" + text + "}"); }),
              "Cannot fit " + bits + " bits in uint64_t: parsing N{a=" + number + "}");
  }
  for (const std::string& number : {ten2504 + "0B", huge, huge + "T", huge + "B"}) {
    EXPECT_EQ(textOf<error::EParseError>([&] { tql::parse("N{a=" + number + "}"); }),
              "Expected constant got: \"" + number + "\" (number too large): parsing N{a=" + number + "}");
  }
}

TEST(Parser, FollowsAnyDepth) {
  constexpr std::size_t kDepth = 200000;
  const auto repeated = [](const std::string& text) {
    std::string all;
    for (std::size_t i = 0; i < kDepth; ++i) {
      all += text;
    }
    return all;
  };
  const std::string opened = repeated("A > (B : C | ");
  for (const std::string& expression : {repeated("A > ") + "A", repeated("A > (") + "A" + repeated(")")}) {
    const auto pattern = tql::parse(expression);
    std::size_t depth = 0;
    for (const auto* step = pattern.get(); !step->children.empty(); step = step->children[0].get()) {
      ++depth;
    }
    EXPECT_EQ(depth, kDepth);
  }
  EXPECT_EQ(textOf<error::EParseError>([&] { tql::parse(opened); }),
            "Expected class name got: \"\": parsing " + opened);
  const auto filtered = tql::parse("A { " + repeated("a = 1 & ") + "b = 2 }");
  ASSERT_EQ(filtered->filter.size(), kDepth + 1);
  EXPECT_TRUE(filtered->filter.back()->prop->name == "b" && *filtered->clone() == *filtered);
}

}  // namespace
