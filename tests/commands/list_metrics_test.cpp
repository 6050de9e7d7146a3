#include "commands/list_metrics.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "query/tql/property_codec.h"

using namespace morvex;

namespace {

using tqlquery::Result;

Result& add(Result& parent, const char* className, const std::string& name) {
  Result& child = parent.children.emplace_back().emplace();
  child.className = className;
  for (const auto& [property, value] : {std::pair{"name", name}, {"unit", "u"}, {"description", "d d"}}) {
    tql::encode(child.properties.emplace_back(), property, tql::kString, value);
  }
  return child;
}

TEST(ListMetrics, DepthTakesNoStack) {
  Result root;
  root.className = "Group";
  Result* object = &root;
  std::string prefix, closings;
  for (int depth = 0; depth < 100000; ++depth) {
    object = &add(add(*object, "Group", "g"), "Table", "t");
    add(*object, "Instance", "i");
    prefix += "g.t.*.";
    closings += "Where * in {i}\n";
  }
  add(*object, "Timing", "m");
  TextOutput output;
  printMetricGroup(output, root);
  EXPECT_TRUE(output.text() == prefix + "m\tTiming\tu\td d\n" + closings);
}

}  // namespace
