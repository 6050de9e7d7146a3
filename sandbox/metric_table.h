#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "protocol/facts.h"
#include "sandbox/activity.h"

namespace morvex::sandbox {

using namespace protocol::object_class;

// How deep tables nest.
inline constexpr std::size_t kMaxTables = 2;

// Which instance of each table a metric is read for, from the outermost table on.
using Instances = std::array<std::size_t, kMaxTables>;

// The state of the server that metrics are read from.
struct MetricInput {
  const Activity& activity;
  std::uint64_t objects;       // in the tree
  std::uint64_t microseconds;  // since the server started
  Instances instances{};
};

using MetricValue = std::variant<std::uint64_t, double, Samples, std::string_view>;

// An object of the metric tree. Those below it follow, one deeper. A table lists its instances ahead of its
// metrics; each metric exists once for every instance.
struct MetricRow {
  std::uint8_t depth;
  std::string_view className;
  std::string_view name;
  std::string_view unit = {};
  std::string_view description = {};
  MetricValue (*read)(const MetricInput& at) = nullptr;  // of a metric
};

std::span<const MetricRow> metricTable();

// Ten for every second since the start.
std::uint64_t ticksAt(const MetricInput& at);

}  // namespace morvex::sandbox
