#include "commands/list_commands.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "query/tql/property_codec.h"

namespace {

using tqlquery::Result;

Result& add(Result& parent, const char* className, const std::string& name) {
  Result& child = *parent.children.emplace_back(std::make_unique<Result>());
  child.className = className;
  tql::encode(child.properties["siblingName"], "siblingName", tql::kString, name);
  return child;
}

TEST(TreePrinter, NamesEndWithTheirBranch) {
  Result top;
  Result& group = add(top, "CheckGroup", "g^");
  add(add(group, "Check", "c"), "CheckAccumulation", "s,");
  add(top, "DomainExport", "export");
  add(add(add(top, "Domain", ""), "Node", R"(n,\)"), "Check", "last");
  add(top, "Check", "own");
  TextOutput output;
  TreePrinter(output, "dcnp", {"Check", "CheckAccumulation"}, {{"x"}, "box", {}}).printTree(top);
  EXPECT_EQ(output.text(),
            "x\t^g\\^^c\tbox\tx,box,g\\\\^^c\n"
            "x\t^g\\^^c^s,\tbox\tx,box,g\\\\^^c^s\\,\n"
            "x.\t^last\tn,\\\tx.,n\\,\\\\,last\n"
            "x\t^own\tbox\tx,box,own\n");
}

}  // namespace
