#include "sandbox/data_answer.h"

#include <utility>

namespace morvex::sandbox {
namespace {

constexpr int kEntriesPerPortion = 512;

}  // namespace

DataAnswer::DataAnswer(std::int32_t requestId, const Series& series,
                       std::shared_ptr<const StoredSeries> stored, std::int64_t start, std::int64_t end,
                       Activity& activity)
    : requestId_(requestId),
      series_(series),
      stored_(std::move(stored)),
      start_(start),
      ownRange_(series.within(start, end)),
      activity_(activity) {
  if (stored_ != nullptr) {
    storedRange_ = stored_->within(start, end);
  }
}

bool DataAnswer::writePortion(protocol::BasicIo& io, bool legacy) {
  ItemWriter to(io, legacy);
  if (!opened_) {
    to.openResponse(requestId_, protocol::GetDataResp::kSchema.tag);
    to.number(static_cast<std::uint32_t>(series_.dataType()));
    to.open(protocol::BE_SEQ);
    opened_ = true;
  }
  for (int count = 0; count < kEntriesPerPortion; ++count) {
    const protocol::BerValue* const entry = next();
    if (entry == nullptr) {
      to.close();
      to.closeResponse();
      to.flush();
      return true;
    }
    to.open(protocol::DataInterval::kSchema.tag);
    entry->write(to);
    to.close();
    ++activity_.rowsSent;
  }
  to.flush();
  return false;
}

// Good until the following call. Null behind the last.
const protocol::BerValue* DataAnswer::next() {
  while (storedRange_.first < storedRange_.behindLast) {
    if (hasOwn()) {
      const std::strong_ordering order = stored_->compare(storedRange_.first, own_);
      if (order > 0) {
        return takeOwn();
      }
      if (order == 0) {
        takeOwn();
      }
    }
    const std::size_t index = storedRange_.first++;
    if (stored_->overlaps(index, start_)) {
      return &(*stored_)[index];
    }
  }
  return hasOwn() ? takeOwn() : nullptr;
}

bool DataAnswer::hasOwn() {
  if (!made_ && ownRange_.first < ownRange_.behindLast) {
    series_.fill(ownRange_.first, own_);
    made_ = true;
  }
  return made_;
}

const protocol::BerValue* DataAnswer::takeOwn() {
  ++ownRange_.first;
  made_ = false;
  return own_.data.get();
}

}  // namespace morvex::sandbox
