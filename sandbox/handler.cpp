#include "sandbox/handler.h"

#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "foundation/clock.h"
#include "sandbox/data_answer.h"
#include "sandbox/refusal.h"
#include "sandbox/select_answer.h"

namespace sandbox {

std::unique_ptr<Answer> Handler::answer(protocol::Request& request) const {
  try {
    if (auto* select = request.req.as<protocol::SelectReq>()) {
      return serve(request.requestId, *select);
    }
    if (const auto* data = request.req.as<protocol::GetDataReq>()) {
      return serve(request.requestId, *data);
    }
    if (const auto* last = request.req.as<protocol::GetLastDataReq>()) {
      return serve(request.requestId, *last);
    }
    throw Refusal(ErrorCode::notImplemented, "The request is not implemented");
  } catch (const Refusal& refusal) {
    return makeRefusal(request.requestId, refusal);
  }
}

std::unique_ptr<Answer> Handler::serve(std::int32_t requestId, protocol::SelectReq& request) const {
  if (request.options != 0) {
    throw Refusal(ErrorCode::notImplemented, "The options of the query are not implemented");
  }
  std::vector<ObjectIndex> start;
  std::set<ObjectIndex> taken;
  for (const std::string& id : request.startIds) {
    const ObjectIndex index = objectWith(id);
    if (taken.insert(index).second) {
      start.push_back(index);
    }
  }
  Pattern pattern(std::move(request.pattern), tree_);
  std::vector<Match> matches = select(tree_, pattern, start);
  return std::make_unique<SelectAnswer>(requestId, tree_, std::move(pattern), std::move(matches));
}

std::unique_ptr<Answer> Handler::serve(std::int32_t requestId, const protocol::GetDataReq& request) const {
  if (request.number1 != 0 || request.number2 != 0) {
    throw Refusal(ErrorCode::notImplemented, "Data can be had as it is stored only");
  }
  const Series series = seriesOf(request.objectId, request.tableName);
  return std::make_unique<DataAnswer>(requestId, series, series.within(request.start, request.end));
}

std::unique_ptr<Answer> Handler::serve(std::int32_t requestId,
                                       const protocol::GetLastDataReq& request) const {
  const Series series = seriesOf(request.objectId, request.tableName);
  const Series::Range all = series.within(0, std::numeric_limits<std::int32_t>::max());
  if (all.first == all.behindLast) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  auto& last = response->resp.emplace<protocol::GetLastDataResp>();
  last.dataType = series.dataType();
  series.fill(all.behindLast - 1, last.data.emplace());
  return std::make_unique<MessageAnswer>(std::move(response));
}

ObjectIndex Handler::objectWith(const std::string& id) const {
  const auto index = tree_.find(id);
  if (!index) {
    throw Refusal(ErrorCode::unknownId, "No object has the id \"" + id + "\"");
  }
  return *index;
}

// Nodes keep incidents, other objects results. An object has no data in the other table.
Series Handler::seriesOf(const std::string& id, const std::string& tableName) const {
  const ObjectIndex index = objectWith(id);
  const bool isIncidents = tableName == "tsdbIncident";
  if (!isIncidents && tableName != "tsdbIndex") {
    throw Refusal(ErrorCode::backendError, "There is no table \"" + tableName + "\"");
  }
  const SeriesPlan& plan = tree_[index].series;
  const bool isThere = isIncidents == (plan.kind == SeriesKind::incidents);
  return {isThere ? plan : SeriesPlan{}, index, currentSeconds()};
}

}  // namespace sandbox
