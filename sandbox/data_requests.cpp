#include "sandbox/data_requests.h"

#include <cstddef>
#include <limits>
#include <utility>

#include "protocol/facts.h"

namespace morvex::sandbox {
namespace {

using protocol::DataInterval;

constexpr int kEntriesPerPortion = 512;

// A GetDataResp with the entries of a series that overlap a span: its own, which are made as they are
// written, and the stored ones among them.
class DataAnswer final : public Answer {
 public:
  // stored may be null. activity must outlive the answer.
  DataAnswer(std::int32_t requestId, const Series& series, std::shared_ptr<const StoredSeries> stored,
             const protocol::GetDataReq& request, Activity& activity)
      : requestId_(requestId),
        series_(series),
        stored_(std::move(stored)),
        start_(request.start),
        ownRange_(series.within(request.start, request.end)),
        activity_(activity) {
    if (stored_ != nullptr) {
      storedRange_ = stored_->within(request.start, request.end);
    }
  }

  // Entries that are stored meanwhile go into a copy: then the old ones are held for the answer alone.
  std::size_t size() const override { return stored_ == nullptr ? 0 : stored_->bytes(); }

  bool writePortion(protocol::BasicIo& io, bool legacy) override {
    ItemWriter to(io, legacy);
    if (!opened_) {
      to.openResponse(requestId_);
      to.open(protocol::GetDataResp::kSchema.tag);
      to.unsignedInteger(static_cast<std::uint32_t>(series_.dataType()));
      to.open(protocol::BE_SEQ);
      opened_ = true;
    }
    const DataInterval* entry = nullptr;
    for (int count = 0; count < kEntriesPerPortion && (entry = next()) != nullptr; ++count) {
      entry->write(to);
      ++activity_.rowsSent;
    }
    if (entry == nullptr) {
      to.close();  // the list of entries
      to.close();  // the payload
      to.close();
    }
    to.flush();
    return entry == nullptr;
  }

 private:
  // Valid until the next call. Null behind the last. A stored entry replaces an equal one of the series' own.
  const DataInterval* next() {
    while (storedRange_.first < storedRange_.behindLast) {
      const DataInterval& stored = (*stored_)[storedRange_.first];
      if (hasOwn()) {
        const std::strong_ordering which = order(stored, own_);
        if (which > 0) {
          return takeOwn();
        }
        if (which == 0) {
          takeOwn();
        }
      }
      if (stored_->overlaps(storedRange_.first++, start_)) {
        return &stored;
      }
    }
    return hasOwn() ? takeOwn() : nullptr;
  }

  bool hasOwn() {
    if (!made_ && ownRange_.first < ownRange_.behindLast) {
      series_.fill(ownRange_.first, own_);
      made_ = true;
    }
    return made_;
  }

  const DataInterval* takeOwn() {
    ++ownRange_.first;
    made_ = false;
    return &own_;
  }

  std::int32_t requestId_;
  Series series_;
  std::shared_ptr<const StoredSeries> stored_;
  std::int64_t start_;
  Series::Range ownRange_;  // not yet written
  StoredSeries::Range storedRange_{0, 0};
  Activity& activity_;
  bool opened_ = false;
  bool made_ = false;
  DataInterval own_;  // the first entry of ownRange_, if made_
};

void check(const protocol::ListOfDataInterval& entries, SeriesKind kind) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Extent extent = extentOf(entries[i]);
    if (extent.kind != kind) {
      throw Refusal(ErrorCode::illegalType,
                    "Entry " + std::to_string(i + 1) + " is of another kind than the series");
    }
    if (extent.end < extent.begin) {
      throw Refusal(ErrorCode::illegalValue, "Entry " + std::to_string(i + 1) + " ends before it begins");
    }
  }
}

}  // namespace

std::unique_ptr<Answer> DataRequests::serve(std::int32_t requestId,
                                            const protocol::GetDataReq& request) const {
  if (request.number1 != 0 || request.number2 != 0) {
    throw Refusal(ErrorCode::notImplemented, "Data can be had as it is stored only");
  }
  const ObjectIndex object = tree_.indexOf(request.objectId);
  const Series series(planOf(object, request.tableName), object, options_.present());
  return std::make_unique<DataAnswer>(requestId, series, series.holdsData() ? storedOf(object) : nullptr,
                                      request, activity_);
}

std::unique_ptr<Answer> DataRequests::serve(std::int32_t requestId,
                                            const protocol::GetLastDataReq& request) const {
  const ObjectIndex object = tree_.indexOf(request.objectId);
  const Series series(planOf(object, request.tableName), object, options_.present());
  if (!series.holdsData()) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  protocol::GetLastDataResp last;
  last.dataType = series.dataType();
  DataInterval& entry = last.data.emplace();
  const Series::Range own = series.within(0, std::numeric_limits<std::int32_t>::max());
  const bool hasOwn = own.first < own.behindLast;
  if (hasOwn) {
    series.fill(own.behindLast - 1, entry);
  }
  const auto stored = storedOf(object);
  const std::size_t count = stored == nullptr ? 0 : stored->size();
  if (count > 0 && (!hasOwn || order((*stored)[count - 1], entry) >= 0)) {
    entry = (*stored)[count - 1];
  } else if (!hasOwn) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  ++activity_.rowsSent;
  return makeAnswer(requestId, std::move(last));
}

std::unique_ptr<Answer> DataRequests::serve(std::int32_t requestId, protocol::PutDataReq& request) {
  const ObjectIndex object = tree_.indexOf(request.objectId);
  const SeriesPlan plan = planOf(object, request.tableName);
  const Series series(plan, object, options_.present());
  if (!series.holdsData()) {
    throw Refusal(ErrorCode::nothingMatched, "The object keeps no data in that table");
  }
  if (request.dataType != series.dataType()) {
    throw Refusal(ErrorCode::illegalValue, "The data type of the series is " +
                                               std::to_string(series.dataType()) + ", not " +
                                               std::to_string(request.dataType));
  }
  check(request.intervals, plan.kind);
  std::shared_ptr<StoredSeries>& stored = stored_[object];
  if (stored == nullptr) {
    stored = std::make_shared<StoredSeries>(plan);
  } else if (stored.use_count() > 1) {
    stored = std::make_shared<StoredSeries>(*stored);  // an answer on its way still reads the old one
  }
  stored->put(request.intervals);
  activity_.rowsStored += request.intervals.size();
  return makeAnswer(requestId, protocol::PutDataResp());
}

std::shared_ptr<const StoredSeries> DataRequests::storedOf(ObjectIndex object) const {
  const auto found = stored_.find(object);
  return found == stored_.end() ? nullptr : found->second;
}

// Nodes keep incidents, other objects results. An object has no data in the other table.
SeriesPlan DataRequests::planOf(ObjectIndex object, const std::string& tableName) const {
  const bool isIncidents = tableName == protocol::kIncidentTable;
  if (!isIncidents && tableName != protocol::kResultTable) {
    throw Refusal(ErrorCode::backendError, "There is no table \"" + tableName + "\"");
  }
  const SeriesPlan& plan = tree_[object].series;
  return isIncidents == (plan.kind == SeriesKind::incidents) ? plan : SeriesPlan{};
}

}  // namespace morvex::sandbox
