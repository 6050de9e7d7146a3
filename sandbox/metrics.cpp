#include "sandbox/metrics.h"

#include <charconv>
#include <chrono>
#include <utility>

#include "query/tql/property_codec.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {
namespace {

constexpr std::string_view kMany = "many";

void add(protocol::ListOfProperty& to, const char* name, std::uint64_t value) {
  protocol::Property& property = to.emplace_back();
  property.name = name;
  property.typeWord = tql::kUnsigned64;
  property.data.emplace<protocol::UnsignedInt64Prop>().value = value;
}

void addValue(protocol::ListOfProperty& to, std::uint64_t value) { add(to, "value", value); }
void addValue(protocol::ListOfProperty& to, double value) {
  tql::encode(to.emplace_back(), "value", tql::kReal, value);
}
void addValue(protocol::ListOfProperty& to, std::string_view value) {
  tql::encode(to.emplace_back(), "value", tql::kString, std::string(value));
}
void addValue(protocol::ListOfProperty& to, const Timing& value) {
  add(to, "n", value.n);
  add(to, "min", value.min);
  add(to, "max", value.max);
  add(to, "sum", value.sum);
  add(to, "sumSquares", value.sumSquares);
}

std::string quotedPath(const protocol::ListOfString1024& path) {
  std::string text;
  for (const std::string& name : path) {
    text += (text.empty() ? "" : ".") + name;
  }
  return "\"" + text + "\"";
}

// The name of one of the counters of --metrics.
std::string manyName(std::size_t number) { return std::string("m").append(std::to_string(number)); }

}  // namespace

MetricObject Metrics::operator[](std::size_t index) const {
  if (index < manyIndex()) {
    const MetricRow& row = metricTable()[index];
    return {row.depth, row.className, std::string(row.name), row.read != nullptr, row.unit, row.description};
  }
  if (index == manyIndex()) {
    return {1, kGroup, std::string(kMany), false, {}, {}};
  }
  return {2, kCounterInt64, manyName(index - manyIndex() - 1), true, "", "One of many"};
}

Metrics::Place Metrics::find(const protocol::ListOfString1024& path) const {
  const Place place = walk(path);
  if (!(*this)[place.index].isMetric) {
    throw Refusal(ErrorCode::nothingMatched, quotedPath(path) + " is not a metric");
  }
  return place;
}

// A path that ends at a table's instance ends at the table.
Metrics::Place Metrics::walk(const protocol::ListOfString1024& path) const {
  const auto table = metricTable();
  Place place{0, {}};
  std::size_t tables = 0;
  bool inTable = false;  // an instance comes next
  for (const std::string& name : path) {
    const auto next = childNamed(place.index, name, inTable);
    if (!next) {
      throw Refusal(ErrorCode::unknownId, "There is no metric " + quotedPath(path));
    }
    if (inTable) {
      place.instances[tables++] = *next - place.index - 1;
      inTable = false;
    } else {
      place.index = *next;
      inTable = *next < table.size() && table[*next].className == kTable;
    }
  }
  return place;
}

std::optional<std::size_t> Metrics::childNamed(std::size_t parent, std::string_view name,
                                               bool instance) const {
  if (many_ > 0 && parent == 0 && name == kMany) {
    return manyIndex();
  }
  if (parent >= manyIndex()) {
    return parent == manyIndex() ? manyNamed(name) : std::nullopt;
  }
  const auto table = metricTable();
  for (std::size_t i = parent + 1; i < table.size() && table[i].depth > table[parent].depth; ++i) {
    if (table[i].depth == table[parent].depth + 1 && table[i].name == name &&
        (table[i].className == kInstance) == instance) {
      return i;
    }
  }
  return std::nullopt;
}

std::optional<std::size_t> Metrics::manyNamed(std::string_view name) const {
  std::uint32_t number = 0;
  const char* const end = name.data() + name.size();
  if (name.size() < 2 || std::from_chars(name.data() + 1, end, number).ec != std::errc() || number >= many_ ||
      name != manyName(number)) {
    return std::nullopt;
  }
  return manyIndex() + 1 + number;
}

void Metrics::read(const Place& place, protocol::ListOfProperty& to) const {
  const auto running = std::chrono::steady_clock::now() - activity_.start;
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(running).count();
  const Moment now{activity_, tree_.size(), static_cast<std::uint64_t>(microseconds), place.instances};
  if (place.index > manyIndex()) {
    addValue(to, ticksAt(now) + (place.index - manyIndex() - 1));
    return;
  }
  std::visit([&](const auto& value) { addValue(to, value); }, metricTable()[place.index].read(now));
}

}  // namespace morvex::sandbox
