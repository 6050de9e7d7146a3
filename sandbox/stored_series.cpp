#include "sandbox/stored_series.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace morvex::sandbox {
namespace {

using protocol::DataIntervalIncident;

template <class Entry>
std::int64_t beginOf(const Entry& entry) {
  if constexpr (std::is_same_v<Entry, DataIntervalIncident>) {
    return entry.time;
  } else {
    return entry.begin;
  }
}

template <class Entry>
std::int64_t endOf(const Entry& entry) {
  if constexpr (std::is_same_v<Entry, DataIntervalIncident>) {
    return entry.time;
  } else {
    return entry.end;
  }
}

template <class Entry>
std::strong_ordering order(const Entry& left, const Entry& right) {
  if constexpr (std::is_same_v<Entry, DataIntervalIncident>) {
    return left.time != right.time ? left.time <=> right.time : left.text.compare(right.text) <=> 0;
  } else {
    return left.begin <=> right.begin;
  }
}

struct Before {
  template <class Entry>
  bool operator()(const Entry& left, const Entry& right) const {
    return order(left, right) < 0;
  }
};

template <class Entry>
void sort(std::vector<Entry>& entries) {
  if (!std::is_sorted(entries.begin(), entries.end(), Before())) {
    std::stable_sort(entries.begin(), entries.end(), Before());
  }
  // The last of equal entries stays.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i + 1 < entries.size() && order(entries[i], entries[i + 1]) == 0) {
      continue;
    }
    if (kept != i) {
      entries[kept] = std::move(entries[i]);
    }
    ++kept;
  }
  entries.resize(kept);
}

// Both are sorted.
template <class Entry>
void merge(std::vector<Entry>& rows, std::vector<Entry>& added) {
  const auto moved = [](auto at) { return std::make_move_iterator(at); };
  if (added.empty() || rows.empty() || order(rows.back(), added.front()) < 0) {
    rows.insert(rows.end(), moved(added.begin()), moved(added.end()));
    return;
  }
  std::vector<Entry> merged;
  merged.reserve(rows.size() + added.size());
  // Of equal entries a union takes that of the first range.
  std::set_union(moved(added.begin()), moved(added.end()), moved(rows.begin()), moved(rows.end()),
                 std::back_inserter(merged), Before());
  rows = std::move(merged);
}

template <class Entry>
Entry& entryIn(protocol::DataInterval& interval) {
  return *interval.data.as<Entry>();
}

}  // namespace

bool isOfKind(const protocol::DataInterval& entry, SeriesKind kind) {
  switch (kind) {
    case SeriesKind::continuous:
      return entry.data.as<protocol::DataIntervalContinuous>() != nullptr;
    case SeriesKind::sawtooth:
      return entry.data.as<protocol::DataIntervalSawtooth>() != nullptr;
    case SeriesKind::enumeration:
      return entry.data.as<protocol::DataIntervalEnum>() != nullptr;
    case SeriesKind::incidents:
      return entry.data.as<DataIntervalIncident>() != nullptr;
    case SeriesKind::none:
      break;
  }
  return false;
}

StoredSeries::StoredSeries(const SeriesPlan& plan) : longest_(plan.slotSeconds) {
  switch (plan.kind) {
    case SeriesKind::sawtooth:
      rows_.emplace<std::vector<protocol::DataIntervalSawtooth>>();
      break;
    case SeriesKind::enumeration:
      rows_.emplace<std::vector<protocol::DataIntervalEnum>>();
      break;
    case SeriesKind::incidents:
      rows_.emplace<std::vector<DataIntervalIncident>>();
      break;
    case SeriesKind::continuous:
    case SeriesKind::none:
      break;
  }
}

void StoredSeries::put(protocol::ListOfDataInterval& entries) {
  std::visit(
      [&]<class Entry>(std::vector<Entry>& rows) {
        std::vector<Entry> added;
        added.reserve(entries.size());
        for (auto& interval : entries) {
          added.push_back(std::move(entryIn<Entry>(interval)));
          longest_ = std::max(longest_, endOf(added.back()) - beginOf(added.back()));
        }
        sort(added);
        merge(rows, added);
      },
      rows_);
}

std::size_t StoredSeries::size() const {
  return std::visit([](const auto& rows) { return rows.size(); }, rows_);
}

const protocol::BerValue& StoredSeries::operator[](std::size_t index) const {
  return std::visit([&](const auto& rows) -> const protocol::BerValue& { return rows[index]; }, rows_);
}

void StoredSeries::copyTo(protocol::DataInterval& to, std::size_t index) const {
  std::visit([&]<class Entry>(const std::vector<Entry>& rows) { to.data.emplace<Entry>() = rows[index]; },
             rows_);
}

std::strong_ordering StoredSeries::compare(std::size_t index, const protocol::DataInterval& other) const {
  return std::visit(
      [&]<class Entry>(const std::vector<Entry>& rows) {
        return order(rows[index], *other.data.as<Entry>());
      },
      rows_);
}

StoredSeries::Range StoredSeries::within(std::int64_t start, std::int64_t end) const {
  return std::visit(
      [&](const auto& rows) {
        const auto beginsFrom = [&](std::int64_t time) {
          const auto found = std::partition_point(rows.begin(), rows.end(),
                                                  [&](const auto& row) { return beginOf(row) < time; });
          return static_cast<std::size_t>(found - rows.begin());
        };
        return start > end ? Range{0, 0} : Range{beginsFrom(start - longest_), beginsFrom(end + 1)};
      },
      rows_);
}

bool StoredSeries::overlaps(std::size_t index, std::int64_t start) const {
  return std::visit(
      [&](const auto& rows) { return beginOf(rows[index]) >= start || endOf(rows[index]) > start; }, rows_);
}

std::shared_ptr<const StoredSeries> StoredData::of(ObjectIndex object) const {
  const auto found = series_.find(object);
  return found == series_.end() ? nullptr : found->second;
}

void StoredData::put(ObjectIndex object, const SeriesPlan& plan, protocol::ListOfDataInterval& entries) {
  std::shared_ptr<StoredSeries>& held = series_[object];
  if (held == nullptr) {
    held = std::make_shared<StoredSeries>(plan);
  } else if (held.use_count() > 1) {
    held = std::make_shared<StoredSeries>(*held);  // an answer on its way still reads the old one
  }
  held->put(entries);
}

}  // namespace morvex::sandbox
