#include "sandbox/data_requests.h"

#include <cstddef>
#include <limits>
#include <utility>

#include "protocol/facts.h"
#include "sandbox/data_answer.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {
namespace {

template <class Entry>
bool runsBackwards(const protocol::DataInterval& interval) {
  const Entry* const entry = interval.data.as<Entry>();
  return entry != nullptr && entry->end < entry->begin;
}

void check(const protocol::ListOfDataInterval& entries, SeriesKind kind) {
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const protocol::DataInterval& entry = entries[i];
    if (!isOfKind(entry, kind)) {
      throw Refusal(ErrorCode::illegalType,
                    "Entry " + std::to_string(i + 1) + " is of another kind than the series");
    }
    if (runsBackwards<protocol::DataIntervalContinuous>(entry) ||
        runsBackwards<protocol::DataIntervalSawtooth>(entry) ||
        runsBackwards<protocol::DataIntervalEnum>(entry)) {
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
  return std::make_unique<DataAnswer>(requestId, series, series.holdsData() ? stored_.of(object) : nullptr,
                                      request.start, request.end, activity_);
}

std::unique_ptr<Answer> DataRequests::serve(std::int32_t requestId,
                                            const protocol::GetLastDataReq& request) const {
  const ObjectIndex object = tree_.indexOf(request.objectId);
  const Series series(planOf(object, request.tableName), object, options_.present());
  if (!series.holdsData()) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  auto& last = response->resp.emplace<protocol::GetLastDataResp>();
  last.dataType = series.dataType();
  protocol::DataInterval& entry = last.data.emplace();
  const Series::Range own = series.within(0, std::numeric_limits<std::int32_t>::max());
  const bool hasOwn = own.first < own.behindLast;
  if (hasOwn) {
    series.fill(own.behindLast - 1, entry);
  }
  const auto stored = stored_.of(object);
  const std::size_t count = stored == nullptr ? 0 : stored->size();
  if (count > 0 && (!hasOwn || stored->compare(count - 1, entry) >= 0)) {
    stored->copyTo(entry, count - 1);
  } else if (!hasOwn) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  ++activity_.rowsSent;
  return std::make_unique<MessageAnswer>(std::move(response));
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
  stored_.put(object, plan, request.intervals);
  activity_.rowsStored += request.intervals.size();
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  response->resp.emplace<protocol::PutDataResp>();
  return std::make_unique<MessageAnswer>(std::move(response));
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
