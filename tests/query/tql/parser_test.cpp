#include "query/tql/parser.h"

#include <gtest/gtest.h>

#include "foundation/class_name.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "query/tql/constant.h"
#include "support/wire.h"

using namespace morvex;

namespace {

struct Row {
  std::string expression, outcome;
};

// The type word, the class and the value.
std::string dumpConstant(const protocol::Property& property) {
  const auto& data = property.data;
  const auto& value = *data;
  const std::string kind = className(typeid(value));
  std::string text = uintToString(property.typeWord) + ":" + kind.substr(0, kind.size() - 4);  // less "Prop"
  if (const auto* string = data.as<protocol::StringProp>()) {
    text += " " + string->value;
  } else if (const auto* list = data.as<protocol::StringListProp>()) {
    for (const std::string& element : list->value) {
      text += " " + quotedString(element);
    }
  } else if (const auto* number = data.as<protocol::SignedIntProp>()) {
    text += " " + intToString(number->value);
  } else if (const auto* natural = data.as<protocol::UnsignedIntProp>()) {
    text += " " + uintToString(natural->value);
  } else if (const auto* boolean = data.as<protocol::BooleanProp>()) {
    text += boolean->value ? " true" : " false";
  } else if (const auto* big = data.as<protocol::BigNumProp>()) {
    text += " " + big->value.toHex();
  }
  return text;
}

// Class, flags, number, properties, terms, children and colon children, each behind a character of its own.
std::string dump(const protocol::PathPattern& step) {
  std::string text = step.className;
  text += step.flags == 0 ? "" : "/" + uintToString(step.flags);
  text += step.number.isSet() ? " =" + uintToString(step.number.value()) : "";
  for (const std::string& name : step.properties) {
    text += " [" + name + "]";
  }
  for (const auto& term : step.filter) {
    text += " {" + intToString(static_cast<std::int32_t>(term->op)) + " " + term->prop->name + " " +
            dumpConstant(*term->prop) + "}";
  }
  for (const auto& child : step.children) {
    text += " > (" + dump(*child) + ")";
  }
  for (const auto& child : step.colonChildren) {
    text += " : (" + dump(*child) + ")";
  }
  return text;
}

TEST(Parser, BuildsTheTreeOfSteps) {
  const Row rows[] = {
      {"Node[siblingName] > CheckGroup*[siblingName]> Check$[siblingName,longLabel] { active = true } > .",
       "Node [siblingName] > (CheckGroup/1 [siblingName] > (Check/4 [siblingName] [longLabel] "
       "{0 active 1:Boolean true} > (.)))"},
      {"A**!$#- =007[b,b]", "A/31 =7 [b] [b]"},
      {"A* > B! > C$ > D# > E-", "A/1 > (B/2 > (C/4 > (D/8 > (E/16))))"},
      {"Node! =4294967298", "Node/2 =2"},
      {"Node { true }", "Node"},
      {"N { true & in in {} and and=false & c=1 }",
       "N {8 in 8:StringList} {0 and 1:Boolean false} {0 c 2:UnsignedInt 1}"},
      {"N { a == 1 & a != 1 }", "N {0 a 2:UnsignedInt 1} {5 a 2:UnsignedInt 1}"},
      {"A > (B | C : D)", "A > (B) > (C) : (D)"},
      {"A > (B > C | D > (E : F > (G : H) | I) : J | K > L)",
       "A > (B > (C)) > (D > (E) : (F > (G) : (H)) : (I)) : (J) : (K > (L))"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(dump(*tql::parse(row.expression)), row.outcome);
  }
}

TEST(Parser, ReadsConstantsByTheirForm) {
  const Row rows[] = {
      {R"(a="x"I & a=""I & a="x"S & a=""S & id="" & id="x"S & a="q\"I")",
       "7:String x, 7:Null, 15:String x, 15:String , 7:String , 15:String x, 6:String q\"I, "},
      {R"(a={} & a={"x", "y"} & a={[,"x"I})",
       R"(8:StringList, 8:StringList "x" "y", 8:StringList "" "x\"", )"},
      {"a=+5 & a=-7 & a=- & a=+ & a=-2147483648 & a=+4294967295",
       "3:SignedInt 5, 3:SignedInt -7, 3:SignedInt 0, 3:SignedInt 0, 3:SignedInt -2147483648, 3:SignedInt "
       "-1, "},
      {"a=4294967295 & a=4294967296 & a=18446744073709551615T",
       "2:UnsignedInt 4294967295, 2:UnsignedInt 0, 10:UnsignedInt 4294967295, "},
      {"a=18446744073709551616B & a=1000000000000000000000000001B & a=0B",
       "18:BigNum 10000000000000000, 18:BigNum 33b2e3c9fd0803ce8000001, 18:BigNum 0, "},
      {"a=false & a=bool_null & a=ES_ALERT & a=NOTIFY_AsAlert & a=RIF_Table & a=NRT_Grouping",
       "1:Boolean false, 1:Null, 65541:UnsignedInt 13, 65550:UnsignedInt 2, 65545:UnsignedInt 8, "
       "65557:UnsignedInt 4, "},
  };
  for (const Row& row : rows) {
    std::string constants;
    const auto pattern = tql::parse("N{" + row.expression + "}");
    for (const auto& term : pattern->filter) {
      constants += dumpConstant(*term->prop) + ", ";
    }
    EXPECT_EQ(constants, row.outcome);
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
    {"Node-5", "Extra input at end of expression"},
    {"Node!=3", "Extra input at end of expression"},
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
  for (const std::string& expression : {repeated("A > ") + "A", repeated("A > (") + "A" + repeated(")")}) {
    const auto pattern = tql::parse(expression);
    std::size_t depth = 0;
    for (const auto* step = pattern.get(); !step->children.empty(); step = step->children[0].get()) {
      ++depth;
    }
    EXPECT_EQ(depth, kDepth);
  }
  const std::string opened = repeated("A > (B : C | ");
  EXPECT_EQ(textOf<error::EParseError>([&] { tql::parse(opened); }),
            "Expected class name got: \"\": parsing " + opened);
  const auto filtered = tql::parse("A { " + repeated("a = 1 & ") + "b = 2 }");
  EXPECT_TRUE(filtered->filter.size() == kDepth + 1 && *filtered->clone() == *filtered);
}

}  // namespace
