#include "sandbox/data_answer.h"

#include <algorithm>

namespace sandbox {
namespace {

constexpr std::int64_t kEntriesPerPortion = 512;

}  // namespace

bool DataAnswer::writePortion(protocol::BasicIo& io, bool legacy) {
  ItemWriter to(io, legacy);
  if (!opened_) {
    to.openResponse(requestId_, protocol::GetDataResp::kSchema.tag);
    to.number(static_cast<std::uint32_t>(series_.dataType()));
    to.open(protocol::BE_SEQ);
    opened_ = true;
  }
  const std::int64_t end = std::min(range_.first + kEntriesPerPortion, range_.behindLast);
  for (; range_.first < end; ++range_.first) {
    series_.fill(range_.first, interval_);
    to.item(interval_);
  }
  if (range_.first < range_.behindLast) {
    return false;
  }
  to.close();
  to.closeResponse();
  return true;
}

}  // namespace sandbox
