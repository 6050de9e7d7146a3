#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "protocol/messages/time_series.h"

namespace morvex {

// The kinds of entries with a CSV form.

struct CsvKind {
  std::string_view name;
  std::string_view header;

  constexpr std::size_t columns() const {
    return static_cast<std::size_t>(std::ranges::count(header, ',')) + 1;
  }
};

template <class Record>
inline constexpr CsvKind kCsvKind{};
template <>
inline constexpr CsvKind kCsvKind<protocol::DataIntervalIncident>{"incidents", "Time,Severity,Text"};
template <>
inline constexpr CsvKind kCsvKind<protocol::DataIntervalEnum>{"enum", "Begin,End,Mask,ngood,nbad"};

inline constexpr std::string_view kSpanHeader = "Begin,End,Min,Avg,Max,ngood,nbad";
template <>
inline constexpr CsvKind kCsvKind<protocol::DataIntervalSawtooth>{"sawtooth", kSpanHeader};
template <>
inline constexpr CsvKind kCsvKind<protocol::DataIntervalContinuous>{"continuous", kSpanHeader};

// Calls the function with the entry's record. False for a kind without a CSV form.
template <class Function>
bool visitCsvKind(const protocol::DataInterval& interval, Function function) {
  const auto attempt = [&function](const auto* record) {
    if (record == nullptr) {
      return false;
    }
    function(*record);
    return true;
  };
  const auto& data = interval.data;
  return attempt(data.as<protocol::DataIntervalIncident>()) ||
         attempt(data.as<protocol::DataIntervalSawtooth>()) ||
         attempt(data.as<protocol::DataIntervalEnum>()) ||
         attempt(data.as<protocol::DataIntervalContinuous>());
}

}  // namespace morvex
