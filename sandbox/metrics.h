#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "protocol/messages/object_tree.h"
#include "sandbox/answer.h"
#include "sandbox/metric_table.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// An object of the metric tree, as a client sees it.
struct MetricObject {
  std::uint32_t depth;
  std::string className;
  std::string name;
  bool isMetric;
  // Of a metric.
  std::string_view unit;
  std::string_view description;
};

// The metrics of this server: its own activity, samples that move with the clock, and on demand the group
// "many" with any number of counters. They are a tree of objects, parents ahead of their children. Clients
// reach them by calls of methods (protocol::method).
class Metrics {
 public:
  // Both must outlive the metrics, and the metrics their answers.
  Metrics(const Tree& tree, const Activity& activity, std::uint32_t many)
      : tree_(tree), activity_(activity), many_(many) {}

  // Throws Refusal for a call that cannot be served.
  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::CallReq& request) const;

  std::size_t size() const { return metricTable().size() + (many_ == 0 ? 0 : 1 + many_); }
  MetricObject operator[](std::size_t index) const;

 private:
  // One metric, for one instance of each table that it stands in.
  struct Place {
    std::size_t index;
    Instances instances;
  };

  // The group "many" and its counters follow the table.
  std::size_t manyIndex() const { return metricTable().size(); }
  std::optional<std::size_t> manyNamed(std::string_view name) const;
  std::optional<std::size_t> childNamed(std::size_t parent, std::string_view name, bool instance) const;
  // Throws Refusal for a path that leads to no metric.
  Place find(const protocol::ListOfString1024& path) const;
  Place walk(const protocol::ListOfString1024& path) const;
  // The properties that make up the metric's value now.
  protocol::CallResp read(const Place& place) const;

  const Tree& tree_;
  const Activity& activity_;
  std::uint32_t many_;
};

}  // namespace morvex::sandbox
