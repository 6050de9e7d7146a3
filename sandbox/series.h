#pragma once

#include <cstddef>
#include <cstdint>

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

// How the data of an object comes about: one entry for each slot of time, as many slots as stated, the last
// of them complete before now. An entry depends on the object and on its slot alone, so that it is the same
// whenever it is asked for, and nothing has to be kept.
struct SeriesPlan {
  SeriesKind kind = SeriesKind::none;
  std::int32_t slotSeconds = 1;
  std::int32_t slots = 0;
  std::size_t textBytes = 0;  // of an incident, if its own text is shorter
};

// The data of one object, as it stands at one moment.
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

}  // namespace morvex::sandbox
