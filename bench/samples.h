#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/basic_io.h"
#include "protocol/messages/envelope.h"

namespace morvex {

// A stream that keeps what is written.
class MemoryIo final : public protocol::BasicIo {
 public:
  void write(const std::uint8_t* bytes, std::size_t count) override {
    text.append(reinterpret_cast<const char*>(bytes), count);
  }
  void flush() override {}

  std::string text;
};

// The answer to a request for a series: rows five minutes apart, each with its own values.
inline protocol::Response sampleSeries(std::size_t rows) {
  protocol::Response response;
  auto& data = response.resp.emplace<protocol::GetDataResp>();
  data.dataType = 1;
  for (std::size_t i = 0; i < rows; ++i) {
    auto& interval = data.intervals.emplace_back();
    auto& row = interval.data.emplace<protocol::DataIntervalContinuous>();
    row.begin = static_cast<std::int32_t>(1'700'000'000 + 300 * i);
    row.end = row.begin + 300;
    row.avg = 20.0 + static_cast<double>(i % 1000) / 7;
    row.min = row.avg - 1.25;
    row.max = row.avg + 3.5;
    row.ngood = 5;
  }
  return response;
}

}  // namespace morvex
