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

// So deep do tables stand within tables.
inline constexpr std::size_t kMaxTables = 2;

// Which instance of each table a metric is read for, from the outermost table on.
using Instances = std::array<std::size_t, kMaxTables>;

// What a metric is read from.
struct Moment {
  const Activity& activity;
  std::uint64_t objects;       // in the tree
  std::uint64_t microseconds;  // since the server started
  Instances instances{};
};

using MetricValue = std::variant<std::uint64_t, double, Timing, std::string_view>;

// An object of the metric tree. Those below it follow, one deeper. The instances of a table stand ahead of
// its metrics, each of which exists once for every instance.
struct MetricRow {
  std::uint8_t depth;
  std::string_view className;
  std::string_view name;
  std::string_view unit = {};
  std::string_view description = {};
  MetricValue (*read)(const Moment& at) = nullptr;  // of a metric
};

std::span<const MetricRow> metricTable();

// Ten for every second since the start.
std::uint64_t ticksAt(const Moment& at);

}  // namespace morvex::sandbox
