#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace morvex::sandbox {

using Time = std::chrono::steady_clock::time_point;

enum class RequestKind : std::uint8_t { call, getData, getLastData, putData, select, update, other };
inline constexpr std::size_t kRequestKinds = 7;

// Durations, in samples: their number, extremes and sums. Without samples, min is above max.
struct Samples {
  std::uint64_t n = 0;
  std::uint64_t min = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t max = 0;
  std::uint64_t sum = 0;
  std::uint64_t sumSquares = 0;

  void add(std::uint64_t sample, std::uint64_t times = 1) {
    if (times > 0) {
      n += times;
      min = std::min(min, sample);
      max = std::max(max, sample);
      sum += times * sample;
      sumSquares += times * sample * sample;
    }
  }
};

// Counts of the server since it started; the metrics show them.
struct Activity {
  struct Requests {
    std::uint64_t count = 0;
    std::uint64_t errors = 0;
    Samples time;  // from the request's arrival to the end of its answer, in microseconds
  };

  Requests& of(RequestKind kind) { return requests[static_cast<std::size_t>(kind)]; }

  Time start = std::chrono::steady_clock::now();
  std::uint64_t connected = 0;
  std::uint64_t accepted = 0;
  std::uint64_t sessions = 0;
  std::uint64_t bytesReceived = 0;
  std::uint64_t bytesSent = 0;
  std::uint64_t updates = 0;
  std::uint64_t conflicts = 0;
  std::uint64_t actions = 0;
  std::uint64_t rowsSent = 0;
  std::uint64_t rowsStored = 0;
  std::array<Requests, kRequestKinds> requests;
};

}  // namespace morvex::sandbox
