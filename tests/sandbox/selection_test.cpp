#include "sandbox/selection.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "query/tql/parser.h"
#include "query/tql/property_codec.h"
#include "support/reading.h"
#include "support/wire.h"

namespace morvex::sandbox {
namespace {

// Domains a and b; in each the nodes m and n; in each node the checks x and y, y inactive.
Tree smallTree() {
  Tree tree;
  const auto add = [&](ObjectIndex parent, ObjectClass objectClass, const std::string& name) {
    PropertyList properties(2);
    tql::encode(properties[0], "siblingName", tql::kString, name);
    tql::encode(properties[1], "active", tql::kBoolean, name != "y");
    return tree.add(parent, objectClass, std::move(properties));
  };
  const ObjectIndex root = add(kNoObject, ObjectClass::domain, "root");
  for (const std::string domainName : {"a", "b"}) {
    const ObjectIndex domain = add(root, ObjectClass::domain, domainName);
    for (const std::string nodeName : {"m", "n"}) {
      const ObjectIndex node = add(domain, ObjectClass::node, nodeName);
      add(node, ObjectClass::check, "x");
      add(node, ObjectClass::check, "y");
    }
  }
  return tree;
}

// "root(a b(m))": objects by their names, and those below each in parentheses.
std::string namesOf(const protocol::ListOfObject& objects) {
  std::string text;
  for (const auto& object : objects) {
    const auto* name = object->properties.at(0).data.as<protocol::StringProp>();
    text += (text.empty() ? "" : " ") + name->value;
    text += object->children.empty() ? "" : "(" + namesOf(object->children) + ")";
  }
  return text;
}

// The objects that a pattern selects from the root down, or the text of the refusal.
std::string selected(const std::string& expression) try {
  const Tree tree = smallTree();
  const auto answer = select(1, tree, Pattern(tql::parse(expression), tree), {Tree::kRoot});
  MemoryIo memory;
  while (!answer->writePortion(memory, false)) {
  }
  const auto messages = Reading({memory.bytes}).messages();
  const auto& response = dynamic_cast<const protocol::Response&>(*messages.at(0));
  return namesOf(response.resp.as<protocol::SelectResp>()->objects);
} catch (const Refusal& refusal) {
  return refusal.texts.empty() ? errorText(static_cast<std::uint32_t>(refusal.code)) : refusal.texts[0];
}

struct Row {
  const char* expression;
  const char* expected;
};

class Selection : public testing::TestWithParam<Row> {};

TEST_P(Selection, GivesTheTreeThatMatched) {
  // Every step has to want the name that namesOf shows.
  std::string expression = GetParam().expression;
  for (std::size_t at = 0; (at = expression.find('@', at)) != std::string::npos;) {
    expression.replace(at, 1, "[siblingName]");
  }
  EXPECT_EQ(selected(expression), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, Selection,
    testing::ValuesIn(std::vector<Row>{
        {"Domain@", "root"},
        {"Node@", "Pattern matched nothing"},
        {"Nothing@", "Pattern matched nothing"},
        {". @ > .@", "root(a b)"},
        {"Domain*@", "root(a b)"},
        {".*@", "root(a(m(x y) n(x y)) b(m(x y) n(x y)))"},
        {"Domain*@ > Node@ { siblingName = \"m\" }", "root(a(m) b(m))"},
        {"Domain*@ > Node@ > Check@ { active = true }", "root(a(m(x) n(x)) b(m(x) n(x)))"},
        {"Domain*@ > Node@ > Check@ { siblingName = \"z\" }", "Pattern matched nothing"},
        {"Domain*@ > Node$@ > Check@ { siblingName = \"z\" }", "root(a(m n) b(m n))"},
        {"Domain@ > Domain@ > Node=1@", "root(a(m) b(m))"},
        {"Domain@ > Domain=1@ > Node=1@ > Check@", "root(a(m(x y)))"},
        {"Domain@ > Domain=0@", "Pattern matched nothing"},
        {"Domain*@ > ( Node@ { siblingName = \"m\" } : Node@ { siblingName = \"n\" } )",
         "root(a(m n) b(m n))"},
        {"Domain*@ > ( Node@ { siblingName = \"z\" } : Node@ { siblingName = \"n\" } )",
         "Pattern matched nothing"},
        {"Domain*@ > ( Node@ { siblingName = \"z\" } | Node@ { siblingName = \"n\" } )", "root(a(n) b(n))"},
        {"Domain@ > Domain@ { id = \"2\" }", "root(a)"},
        {"Domain@ > Domain@ { id != \"2\" }", "root(b)"},
        {"Domain@ > Domain@ { id = \"2F\" }", "Pattern matched nothing"},
        {"Domain@ > Domain@ { id = \"2\"S }", "Property \"id\" is of another type than the constant"},
        {"Domain@ > Domain@ { nothing = 1 }", "Pattern matched nothing"},
        {"Domain#@", "The modifiers # and - are not implemented"},
        {"Domain-@", "The modifiers # and - are not implemented"},
    }));

TEST(Selection, TakesSixtyFourSteps) {
  std::string expression = ".*$[siblingName]";
  for (int step = 1; step < 64; ++step) {
    expression += "> .*$[siblingName]";
  }
  EXPECT_EQ(selected(expression), "root(a(m(x y) n(x y)) b(m(x y) n(x y)))");
  EXPECT_EQ(selected(expression + "> ."), "A pattern may have 64 steps at most");
}

}  // namespace
}  // namespace morvex::sandbox
