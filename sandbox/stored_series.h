#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <variant>
#include <vector>

#include "sandbox/series.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// Whether an entry is of the kind that a series holds.
bool isOfKind(const protocol::DataInterval& entry, SeriesKind kind);

// The entries that clients have put into one series, beside those that it has by itself. Measured entries
// are told apart by their begin, incidents by their time and text. They stand in that order.
class StoredSeries {
 public:
  explicit StoredSeries(const SeriesPlan& plan);

  // Moves the entries in, all of which must be of the series' kind. An entry replaces the one that is held
  // in its place, or stands ahead of it in the list.
  void put(protocol::ListOfDataInterval& entries);

  std::size_t size() const;

  // The entry, as an alternative of DataInterval.
  const protocol::BerValue& operator[](std::size_t index) const;
  void copyTo(protocol::DataInterval& to, std::size_t index) const;

  // How an entry stands to one that the series has by itself. If they are equal it takes its place.
  std::strong_ordering compare(std::size_t index, const protocol::DataInterval& other) const;

  // All entries that overlap the span from start to end, both included, or take the place of one that does.
  // Some others may be among them: overlaps tells.
  struct Range {
    std::size_t first;
    std::size_t behindLast;
  };
  Range within(std::int64_t start, std::int64_t end) const;
  bool overlaps(std::size_t index, std::int64_t start) const;

 private:
  std::variant<std::vector<protocol::DataIntervalContinuous>, std::vector<protocol::DataIntervalSawtooth>,
               std::vector<protocol::DataIntervalEnum>, std::vector<protocol::DataIntervalIncident>>
      rows_;
  std::int64_t longest_;  // seconds of any entry of the series, stored or not
};

// The stored entries of all objects.
class StoredData {
 public:
  // What is stored now, whatever is put later. Null if that is nothing.
  std::shared_ptr<const StoredSeries> of(ObjectIndex object) const;

  // As StoredSeries::put.
  void put(ObjectIndex object, const SeriesPlan& plan, protocol::ListOfDataInterval& entries);

 private:
  std::map<ObjectIndex, std::shared_ptr<StoredSeries>> series_;
};

}  // namespace morvex::sandbox
