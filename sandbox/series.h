#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "protocol/messages/time_series.h"

namespace morvex::sandbox {

// What the entries of a series are. The number is that of DataInterval's alternative, and describes the
// series to a client.
enum class SeriesKind : std::int32_t {
  none = 0,
  incidents = 1,
  sawtooth = 3,
  enumeration = 4,
  continuous = 5
};

// How the data of an object is made up: one entry for each slot of time. The last slot ends before now. An
// entry depends on the object and on its slot alone, so it is the same whenever it is asked for, and nothing
// has to be kept.
struct SeriesPlan {
  SeriesKind kind = SeriesKind::none;
  std::int32_t slotSeconds = 1;
  std::int32_t slots = 0;
  std::size_t textBytes = 0;  // incidents with a shorter text are filled up to this length
};

// What an entry is, and the time that it covers, in seconds since 1970. An incident ends when it begins.
struct Extent {
  SeriesKind kind;  // none for an entry that no series here holds
  std::int64_t begin;
  std::int64_t end;
};
Extent extentOf(const protocol::DataInterval& entry);

// Measured entries are ordered by their begin, incidents by time and text.
std::strong_ordering order(const protocol::DataInterval& left, const protocol::DataInterval& right);

// The data that one object has by itself.
class Series {
 public:
  // seed tells the object from others. Times are in seconds since 1970.
  Series(const SeriesPlan& plan, std::uint32_t seed, std::int64_t now);

  bool holdsData() const { return plan_.kind != SeriesKind::none; }
  std::int32_t dataType() const { return static_cast<std::int32_t>(plan_.kind); }

  // The slots of the entries that overlap the span from start to end, both included.
  struct Range {
    std::int64_t first;
    std::int64_t behindLast;
  };
  Range within(std::int64_t start, std::int64_t end) const;

  // Sets the interval to the entry of a slot. An interval that held an entry of this series is reused.
  void fill(std::int64_t slot, protocol::DataInterval& interval) const;

 private:
  std::int64_t incidentTime(std::int64_t slot) const;
  std::uint64_t noise(std::int64_t slot) const;
  template <class Measured>
  void fillMeasured(std::int64_t slot, double average, Measured& entry) const;

  SeriesPlan plan_;
  std::uint64_t seed_;
  std::int64_t firstSlot_ = 0;
  std::int64_t behindLastSlot_ = 0;
};

// The entries that clients have put into one series, in their order.
class StoredSeries {
 public:
  explicit StoredSeries(const SeriesPlan& plan) : longest_(plan.slotSeconds) {}

  // Moves the entries in; all must be of the series' kind. Of equal entries the last one put stays.
  void put(protocol::ListOfDataInterval& entries);

  std::size_t size() const { return rows_.size(); }
  // The memory that they take, at most.
  std::size_t bytes() const { return rows_.size() * (sizeof(protocol::DataInterval) + longestText_); }
  const protocol::DataInterval& operator[](std::size_t index) const { return rows_[index]; }

  // The entries that overlap the span from start to end, both included, or replace one of the series' own
  // that does. The range may hold others too: check overlaps.
  struct Range {
    std::size_t first;
    std::size_t behindLast;
  };
  Range within(std::int64_t start, std::int64_t end) const;
  bool overlaps(std::size_t index, std::int64_t start) const;

 private:
  std::vector<protocol::DataInterval> rows_;
  std::int64_t longest_;  // seconds of any entry of the series, stored or not
  std::size_t longestText_ = 0;
};

}  // namespace morvex::sandbox
