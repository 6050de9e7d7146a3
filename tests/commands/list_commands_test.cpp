#include "commands/list_commands.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "foundation/errors.h"
#include "query/tql/property_codec.h"

namespace {

using tqlquery::Result;

// Adds an object whose label is its name in brackets and whose id is its name behind a hash.
Result& add(Result& parent, const char* className, const std::string& name) {
  Result& child = *parent.children.emplace_back(std::make_unique<Result>());
  child.className = className;
  child.id = '#' + name;
  tql::encode(child.properties["siblingName"], "siblingName", tql::kString, name);
  tql::encode(child.properties["longLabel"], "longLabel", tql::kString, '[' + name + ']');
  return child;
}

std::string list(const Result& top, const char* columns, std::vector<std::string> classes,
                 const ObjectChain& chain = {}) {
  TextOutput output;
  TreePrinter(output, columns, std::move(classes), chain).printTree(top);
  return output.text();
}

TEST(TreePrinter, DomainsComeBeforeTheirOwn) {
  Result top;
  add(add(top, "Domain", "a"), "Domain", "b");
  add(top, "Domain", "c,d.e");
  EXPECT_EQ(list(top, "Nip", {"Domain"}), "[a]\t#a\ta\n[b]\t#b\ta.b\n[c,d.e]\t#c,d.e\tc\\,d\\\\.e\n");
  EXPECT_EQ(list(top, "dd", {"Domain"}), "a\ta\na.b\ta.b\nc,d\\.e\tc,d\\.e\n");
  EXPECT_EQ(list(top, "", {"Domain"}), "\n\n\n");
  EXPECT_EQ(list(top, "i", {"Node"}), "");
}

TEST(TreePrinter, NodesStandInTheirDomains) {
  Result top;
  add(top, "Node", R"(n,\)");
  add(add(top, "Domain", ""), "Node", "m");
  add(top, "Node", "o");
  EXPECT_EQ(list(top, "ndp", {"Node"}), "n,\\\t.\t.,n\\,\\\\\nm\t\t,m\no\t.\t.,o\n");
  EXPECT_EQ(list(top, "p", {"Node"}, {{"x", "y"}, "", {}}), "x.y,n\\,\\\\\nx.y.,m\nx.y,o\n");
}

TEST(TreePrinter, ChecksNameTheirGroups) {
  Result top;
  Result& group = add(top, "CheckGroup", "g^");
  add(add(group, "Check", "c"), "CheckAccumulation", "s,");
  add(top, "DomainExport", "export");
  add(add(top, "Node", "inner"), "Check", "last");
  add(top, "Check", "own");
  EXPECT_EQ(list(top, "cnp", {"Check", "CheckAccumulation"}, {{"x"}, "box", {}}),
            "^g\\^^c\tbox\tx,box,g\\\\^^c\n"
            "^g\\^^c^s,\tbox\tx,box,g\\\\^^c^s\\,\n"
            "^last\tinner\tx,inner,last\n"
            "^own\tbox\tx,box,own\n");
}

TEST(TreePrinter, AMissingPropertyLeavesTheLinesBeforeIt) {
  Result top;
  add(top, "Domain", "a");
  add(top, "Domain", "b").properties.erase("longLabel");
  TextOutput output;
  TreePrinter printer(output, "iN", {"Domain"}, {});
  EXPECT_EQ(textOf<errors::objecterror>([&] { printer.printTree(top); }),
            "Property \"longLabel\" not found in #b");
  EXPECT_EQ(output.text(), "#a\t[a]\n");
}

TEST(TreePrinter, DepthTakesNoStack) {
  Result top;
  std::string expected;
  Result* object = &top;
  for (int depth = 0; depth < 200000; ++depth) {
    object = &add(*object, "Domain", std::to_string(depth));
    expected += object->id + '\n';
  }
  EXPECT_EQ(list(top, "i", {"Domain"}), expected);
}

}  // namespace
