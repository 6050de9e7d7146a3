#include "sandbox/handler.h"

#include <set>
#include <utility>
#include <vector>

#include "sandbox/refusal.h"
#include "sandbox/select_answer.h"

namespace morvex::sandbox {

std::unique_ptr<Answer> Handler::answer(protocol::Request& request, bool legacy) {
  const RequestKind kind = kindOf(request);
  Activity::Requests& activity = activity_.of(kind);
  ++activity.count;
  try {
    return serve(request, kind, legacy);
  } catch (const Refusal& refusal) {
    ++activity.errors;
    return makeRefusal(request.requestId, refusal);
  }
}

// What stands in the tree and in the series changes with a request alone, the clock aside: an export that was
// kept shows the entries of its day.
std::unique_ptr<Answer> Handler::serve(protocol::Request& request, RequestKind kind, bool legacy) {
  switch (kind) {
    case RequestKind::getData:
    case RequestKind::select:
      return kept_.answer(request, legacy, [&] { return serveAnew(request, kind); });
    case RequestKind::putData:
    case RequestKind::update:
      kept_.forget();
      break;
    default:
      break;
  }
  return serveAnew(request, kind);
}

std::unique_ptr<Answer> Handler::serveAnew(protocol::Request& request, RequestKind kind) {
  const std::int32_t requestId = request.requestId;
  switch (kind) {
    case RequestKind::call:
      return calls_.serve(requestId, *request.req.as<protocol::CallReq>());
    case RequestKind::getData:
      return data_.serve(requestId, *request.req.as<protocol::GetDataReq>());
    case RequestKind::getLastData:
      return data_.serve(requestId, *request.req.as<protocol::GetLastDataReq>());
    case RequestKind::putData:
      return data_.serve(requestId, *request.req.as<protocol::PutDataReq>());
    case RequestKind::select:
      return select(requestId, *request.req.as<protocol::SelectReq>());
    case RequestKind::update:
      return update(requestId, *request.req.as<protocol::UpdateReq>());
    case RequestKind::other:
      break;
  }
  throw Refusal(ErrorCode::notImplemented, "The request is not implemented");
}

std::unique_ptr<Answer> Handler::select(std::int32_t requestId, protocol::SelectReq& request) const {
  if (request.options != 0) {
    throw Refusal(ErrorCode::notImplemented, "The options of the query are not implemented");
  }
  std::vector<ObjectIndex> start;
  std::set<ObjectIndex> taken;
  for (const std::string& id : request.startIds) {
    const ObjectIndex index = tree_.indexOf(id);
    if (taken.insert(index).second) {
      start.push_back(index);
    }
  }
  Pattern pattern(std::move(request.pattern), tree_);
  std::vector<Match> matches = sandbox::select(tree_, pattern, start);
  return std::make_unique<SelectAnswer>(requestId, tree_, std::move(pattern), std::move(matches));
}

std::unique_ptr<Answer> Handler::update(std::int32_t requestId, protocol::UpdateReq& request) {
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  response->resp.emplace<protocol::UpdateResp>().version = updates_.apply(request);
  return std::make_unique<MessageAnswer>(std::move(response));
}

}  // namespace morvex::sandbox
