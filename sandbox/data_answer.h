#pragma once

#include <cstdint>

#include "sandbox/answer.h"
#include "sandbox/series.h"

namespace sandbox {

// A GetDataResp with the entries of a series in a range, which are made as they are written.
class DataAnswer final : public Answer {
 public:
  DataAnswer(std::int32_t requestId, const Series& series, Series::Range range)
      : requestId_(requestId), series_(series), range_(range) {}
  bool writePortion(protocol::BasicIo& io, bool legacy) override;

 private:
  std::int32_t requestId_;
  Series series_;
  Series::Range range_;  // what is still to be written
  bool opened_ = false;
  protocol::DataInterval interval_;
};

}  // namespace sandbox
