#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "protocol/messages/object_tree.h"
#include "sandbox/metric_table.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// An object of the metric tree, as a client sees it.
struct MetricObject {
  std::uint32_t depth;
  std::string_view className;
  std::string name;
  bool isMetric;
  // Of a metric.
  std::string_view unit;
  std::string_view description;
};

// The metrics of this server: its own activity, samples that move with the clock, and on demand the group
// "many" with any number of counters. They are a tree of objects, parents ahead of their children.
class Metrics {
 public:
  // Both must outlive the metrics.
  Metrics(const Tree& tree, const Activity& activity, std::uint32_t many)
      : tree_(tree), activity_(activity), many_(many) {}

  std::size_t size() const { return metricTable().size() + (many_ == 0 ? 0 : 1 + many_); }
  MetricObject operator[](std::size_t index) const;

  // One metric, for one instance of each table that it stands in.
  struct Place {
    std::size_t index;
    Instances instances;
  };
  // Throws Refusal for a path that leads to no metric.
  Place find(const protocol::ListOfString1024& path) const;

  // Appends the properties that make up the metric's value now.
  void read(const Place& place, protocol::ListOfProperty& to) const;

 private:
  // As the group "many" and its counters follow the table.
  std::size_t manyIndex() const { return metricTable().size(); }
  std::optional<std::size_t> manyNamed(std::string_view name) const;
  std::optional<std::size_t> childNamed(std::size_t parent, std::string_view name, bool instance) const;
  Place walk(const protocol::ListOfString1024& path) const;

  const Tree& tree_;
  const Activity& activity_;
  std::uint32_t many_;
};

}  // namespace morvex::sandbox
