#include "sandbox/series.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>

namespace morvex::sandbox {
namespace {

using protocol::DataInterval;

constexpr std::int64_t kDay = 86400;

struct Incident {
  std::int32_t severity;
  std::string_view text;
};

constexpr Incident kIncidents[] = {
    {13, "Link \"eth0\" down, switching to \"eth1\""},
    {1, "Link \"eth0\" is up again"},
    {12, "Temperature 61 °C, limit is 60 °C"},
    {11, "No answer to 3 of 5 pings"},
    {1, "Alles in Ordnung: Lüfter läuft wieder, Drehzahl 4200/min"},
    {12, "接続が遅い, 応答時間 350 ms"},
    {13, "Partition C:\\data is full"},
    {1, ""},
    {12, "Certificate expires in 14 days; renew it, please"},
};

constexpr std::uint32_t kMasks[] = {1, 1, 1, 1, 1, 1, 1, 2, 3, 12, 0x80000000U, 1, 1, 1, 1, 1};

// The finaliser of splitmix64: any bit of the input changes half of the output.
std::uint64_t mix(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

// From 0 to 1, by 16 bits of noise.
double fraction(std::uint64_t noise, unsigned shift) {
  return static_cast<double>((noise >> shift) & 0xFFFFU) / 0xFFFF;
}

std::int64_t floorDivided(std::int64_t value, std::int64_t by) {
  return value / by - (value % by < 0 ? 1 : 0);
}

std::int32_t seconds(std::int64_t time) { return static_cast<std::int32_t>(time); }

template <class Entry>
Entry& entryOf(DataInterval& interval) {
  Entry* const held = interval.data.as<Entry>();
  return held != nullptr ? *held : interval.data.emplace<Entry>();
}

bool isBefore(const DataInterval& left, const DataInterval& right) { return order(left, right) < 0; }

// Of equal entries the last stays: going backwards, it is the first.
void sort(std::vector<DataInterval>& entries) {
  if (!std::ranges::is_sorted(entries, isBefore)) {
    std::ranges::stable_sort(entries, isBefore);
  }
  const auto isEqual = [](const auto& left, const auto& right) { return order(left, right) == 0; };
  entries.erase(entries.begin(), std::unique(entries.rbegin(), entries.rend(), isEqual).base());
}

// Both are sorted. Of equal entries the added one stays.
void merge(std::vector<DataInterval>& rows, std::vector<DataInterval>& added) {
  const auto moved = [](auto at) { return std::make_move_iterator(at); };
  if (added.empty() || rows.empty() || order(rows.back(), added.front()) < 0) {
    rows.insert(rows.end(), moved(added.begin()), moved(added.end()));
    return;
  }
  std::vector<DataInterval> merged;
  merged.reserve(rows.size() + added.size());
  std::set_union(moved(added.begin()), moved(added.end()), moved(rows.begin()), moved(rows.end()),
                 std::back_inserter(merged), isBefore);
  rows = std::move(merged);
}

}  // namespace

Extent extentOf(const DataInterval& entry) {
  if (const auto* continuous = entry.data.as<protocol::DataIntervalContinuous>()) {
    return {SeriesKind::continuous, continuous->begin, continuous->end};
  }
  if (const auto* sawtooth = entry.data.as<protocol::DataIntervalSawtooth>()) {
    return {SeriesKind::sawtooth, sawtooth->begin, sawtooth->end};
  }
  if (const auto* states = entry.data.as<protocol::DataIntervalEnum>()) {
    return {SeriesKind::enumeration, states->begin, states->end};
  }
  if (const auto* incident = entry.data.as<protocol::DataIntervalIncident>()) {
    return {SeriesKind::incidents, incident->time, incident->time};
  }
  return {SeriesKind::none, 0, 0};
}

std::strong_ordering order(const DataInterval& left, const DataInterval& right) {
  const auto* l = left.data.as<protocol::DataIntervalIncident>();
  const auto* r = right.data.as<protocol::DataIntervalIncident>();
  return l != nullptr && r != nullptr && l->time == r->time ? l->text.compare(r->text) <=> 0
                                                            : extentOf(left).begin <=> extentOf(right).begin;
}

Series::Series(const SeriesPlan& plan, std::uint32_t seed, std::int64_t now)
    : plan_(plan), seed_(mix(seed)), behindLastSlot_(now / plan.slotSeconds) {
  firstSlot_ = std::max<std::int64_t>(behindLastSlot_ - plan.slots, 0);
}

// Entries of neighbouring slots are in order and do not overlap, so only the first and the last of a range
// can lie outside the span.
Series::Range Series::within(std::int64_t start, std::int64_t end) const {
  Range range{std::clamp(floorDivided(start, plan_.slotSeconds), firstSlot_, behindLastSlot_),
              std::clamp(floorDivided(end, plan_.slotSeconds) + 1, firstSlot_, behindLastSlot_)};
  if (plan_.kind == SeriesKind::incidents) {
    if (range.first < range.behindLast && incidentTime(range.first) < start) {
      ++range.first;
    }
    if (range.first < range.behindLast && incidentTime(range.behindLast - 1) > end) {
      --range.behindLast;
    }
  }
  range.behindLast = std::max(range.first, range.behindLast);
  return range;
}

std::uint64_t Series::noise(std::int64_t slot) const {
  return mix(seed_ ^ static_cast<std::uint64_t>(slot * plan_.slotSeconds));
}

std::int64_t Series::incidentTime(std::int64_t slot) const {
  return slot * plan_.slotSeconds + static_cast<std::int64_t>(noise(slot) >> 32U) % plan_.slotSeconds;
}

template <class Measured>
void Series::fillMeasured(std::int64_t slot, double average, Measured& entry) const {
  const std::uint64_t random = noise(slot);
  const double spread = 0.5 + 4 * fraction(random, 16);
  entry.begin = seconds(slot * plan_.slotSeconds);
  entry.end = seconds((slot + 1) * plan_.slotSeconds);
  entry.max = average + spread;
  entry.avg = average;
  entry.min = average - spread * fraction(random, 32);
  entry.nbad = (random >> 48U) % 32 == 0 ? 1 : 0;
  entry.ngood = 5 - entry.nbad;
}

void Series::fill(std::int64_t slot, DataInterval& interval) const {
  const std::uint64_t random = noise(slot);
  const double day = static_cast<double>(slot * plan_.slotSeconds % kDay) / kDay;
  const double base = 20 + static_cast<double>(seed_ % 60);
  switch (plan_.kind) {
    case SeriesKind::continuous:
      // Busy at noon, quiet at midnight.
      fillMeasured(slot, base + 10 * (1 - std::abs(2 * day - 1)) + fraction(random, 0),
                   entryOf<protocol::DataIntervalContinuous>(interval));
      break;
    case SeriesKind::sawtooth:
      // Grows for a day and starts over.
      fillMeasured(slot, base + 1000 * day + fraction(random, 0),
                   entryOf<protocol::DataIntervalSawtooth>(interval));
      break;
    case SeriesKind::enumeration: {
      auto& entry = entryOf<protocol::DataIntervalEnum>(interval);
      entry.begin = seconds(slot * plan_.slotSeconds);
      entry.end = seconds((slot + 1) * plan_.slotSeconds);
      entry.mask = kMasks[random % std::size(kMasks)];
      entry.nbad = entry.mask == 1 ? 0 : 2;
      entry.ngood = 5 - entry.nbad;
      break;
    }
    case SeriesKind::incidents: {
      const Incident& incident = kIncidents[random % std::size(kIncidents)];
      auto& entry = entryOf<protocol::DataIntervalIncident>(interval);
      entry.time = seconds(incidentTime(slot));
      entry.severity = static_cast<protocol::Severity>(incident.severity);
      entry.text = incident.text;
      entry.text.resize(std::max(entry.text.size(), plan_.textBytes), '.');
      break;
    }
    case SeriesKind::none:
      break;
  }
}

void StoredSeries::put(protocol::ListOfDataInterval& entries) {
  std::vector<DataInterval> added(std::make_move_iterator(entries.begin()),
                                  std::make_move_iterator(entries.end()));
  for (const DataInterval& entry : added) {
    const Extent extent = extentOf(entry);
    longest_ = std::max(longest_, extent.end - extent.begin);
    if (const auto* incident = entry.data.as<protocol::DataIntervalIncident>()) {
      longestText_ = std::max(longestText_, incident->text.size());
    }
  }
  sort(added);
  merge(rows_, added);
}

StoredSeries::Range StoredSeries::within(std::int64_t start, std::int64_t end) const {
  const auto beginsFrom = [&](std::int64_t time) {
    const auto found = std::ranges::partition_point(
        rows_, [&](const DataInterval& row) { return extentOf(row).begin < time; });
    return static_cast<std::size_t>(found - rows_.begin());
  };
  return start > end ? Range{0, 0} : Range{beginsFrom(start - longest_), beginsFrom(end + 1)};
}

bool StoredSeries::overlaps(std::size_t index, std::int64_t start) const {
  const Extent extent = extentOf(rows_[index]);
  return extent.begin >= start || extent.end > start;
}

}  // namespace morvex::sandbox
