#include "commands/list_metrics.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "foundation/errors.h"
#include "query/tql/property_codec.h"

namespace {

using tqlquery::Result;

Result& add(Result& parent, const char* className, const std::string& name) {
  Result& child = *parent.children.emplace_back(std::make_unique<Result>());
  child.className = className;
  child.id = '#' + name;
  for (const auto& [property, value] : {std::pair{"name", name}, {"unit", "u"}, {"description", "d d"}}) {
    tql::encode(child.properties[property], property, tql::kString, value);
  }
  return child;
}

// What is printed, and behind it the text of the fault.
std::string listing(Result& root, const char* className = "Group") {
  root.className = className;
  TextOutput output;
  const std::string fault = textOf<error::Exception>([&] { printMetricGroup(output, root); });
  return output.text() + fault;
}

TEST(ListMetrics, SortsEachGroupAndNamesTheInstancesOfTables) {
  Result root;
  add(root, "Timing", "m10");
  add(root, "Instance", "m9");  // outside a table it is as good as any metric
  Result& system = add(root, "Group", "System");
  add(root, "Group", "empty");
  Result& cpu = add(system, "Table", "cpu");
  for (const char* instance : {"b", "a10", "a9"}) {
    add(cpu, "Instance", instance);
  }
  Result& core = add(cpu, "Table", "core");
  add(core, "GaugeInt64", "load");
  add(core, "Instance", "0");
  add(add(cpu, "Group", "Z"), "CounterInt64", "ticks");
  add(add(add(system, "Table", "disk"), "Group", "hidden"), "Timing", "hidden");
  add(system, "CounterInt64", "uptime");
  EXPECT_EQ(listing(root),
            "m9\tInstance\tu\td d\n"
            "m10\tTiming\tu\td d\n"
            "System.cpu.*.core.*.load\tGaugeInt64\tu\td d\n"
            "Where * in {0}\n"
            "System.cpu.*.Z.ticks\tCounterInt64\tu\td d\n"
            "Where * in {a9,a10,b}\n"
            "System.uptime\tCounterInt64\tu\td d\n"
            "nothing thrown");
}

TEST(ListMetrics, FaultsLeaveTheLinesBeforeThem) {
  Result root;
  add(root, "Timing", "a");
  add(root, "Timing", "b").properties.erase("unit");
  EXPECT_EQ(listing(root), "a\tTiming\tu\td d\nProperty \"unit\" not found in #b");
  tql::encode(root.children.back()->properties["name"], "name", tql::kId, std::string("b"));
  EXPECT_EQ(listing(root), "Type mismatch");
  EXPECT_EQ(listing(root, "Table"), "Invalid argument");
}

TEST(ListMetrics, DepthTakesNoStack) {
  Result root;
  Result* object = &root;
  std::string prefix, closings;
  for (int depth = 0; depth < 100000; ++depth) {
    object = &add(add(*object, "Group", "g"), "Table", "t");
    add(*object, "Instance", "i");
    prefix += "g.t.*.";
    closings += "Where * in {i}\n";
  }
  add(*object, "Timing", "m");
  EXPECT_TRUE(listing(root) == prefix + "m\tTiming\tu\td d\n" + closings + "nothing thrown");
}

}  // namespace
