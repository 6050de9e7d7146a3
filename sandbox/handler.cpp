#include "sandbox/handler.h"

#include <unordered_set>
#include <utility>
#include <vector>

#include "sandbox/selection.h"
#include "sandbox/updates.h"

namespace morvex::sandbox {
namespace {

// An answer that may yet turn out to be a refusal, which is counted then.
class UncertainAnswer final : public Answer {
 public:
  UncertainAnswer(std::int32_t requestId, std::unique_ptr<Answer> answer, Activity::Requests& activity)
      : requestId_(requestId), answer_(std::move(answer)), activity_(activity) {}

  bool prepare(Turn& turn, bool legacy) override {
    try {
      return answer_->prepare(turn, legacy);
    } catch (const Refusal& refusal) {
      ++activity_.errors;
      answer_ = makeRefusal(requestId_, refusal);
    }
    return answer_->prepare(turn, legacy);
  }
  std::size_t size() const override { return answer_->size(); }
  bool writePortion(protocol::BasicIo& io, bool legacy) override { return answer_->writePortion(io, legacy); }

 private:
  std::int32_t requestId_;
  std::unique_ptr<Answer> answer_;
  Activity::Requests& activity_;
};

}  // namespace

RequestKind Handler::kindOf(const protocol::Request& request) {
  const auto& req = request.req;
  return req.as<protocol::CallReq>() != nullptr          ? RequestKind::call
         : req.as<protocol::GetDataReq>() != nullptr     ? RequestKind::getData
         : req.as<protocol::GetLastDataReq>() != nullptr ? RequestKind::getLastData
         : req.as<protocol::PutDataReq>() != nullptr     ? RequestKind::putData
         : req.as<protocol::SelectReq>() != nullptr      ? RequestKind::select
         : req.as<protocol::UpdateReq>() != nullptr      ? RequestKind::update
                                                         : RequestKind::other;
}

std::unique_ptr<Answer> Handler::answer(protocol::Request& request, bool legacy) {
  const RequestKind kind = kindOf(request);
  Activity::Requests& activity = activity_.of(kind);
  ++activity.count;
  try {
    std::unique_ptr<Answer> answer = serve(request, kind, legacy);
    if (kind == RequestKind::select) {
      answer = std::make_unique<UncertainAnswer>(request.requestId, std::move(answer), activity);
    }
    return answer;
  } catch (const Refusal& refusal) {
    ++activity.errors;
    return makeRefusal(request.requestId, refusal);
  }
}

// Apart from the clock, only requests change the tree and the series: an export that was kept shows the
// entries of its day.
std::unique_ptr<Answer> Handler::serve(protocol::Request& request, RequestKind kind, bool legacy) {
  if (kind == RequestKind::getData || kind == RequestKind::select) {
    return kept_.answer(request, legacy, [&] { return serveAnew(request, kind); });
  }
  if (kind == RequestKind::putData || kind == RequestKind::update) {
    kept_.forget();
  }
  return serveAnew(request, kind);
}

std::unique_ptr<Answer> Handler::serveAnew(protocol::Request& request, RequestKind kind) {
  const std::int32_t requestId = request.requestId;
  switch (kind) {
    case RequestKind::call:
      return metrics_.serve(requestId, *request.req.as<protocol::CallReq>());
    case RequestKind::getData:
      return data_.serve(requestId, *request.req.as<protocol::GetDataReq>());
    case RequestKind::getLastData:
      return data_.serve(requestId, *request.req.as<protocol::GetLastDataReq>());
    case RequestKind::putData:
      return data_.serve(requestId, *request.req.as<protocol::PutDataReq>());
    case RequestKind::select:
      return select(requestId, *request.req.as<protocol::SelectReq>());
    case RequestKind::update: {
      protocol::UpdateResp response;
      response.version =
          applyUpdate(tree_, activity_, conflictsLeft_, *request.req.as<protocol::UpdateReq>());
      return makeAnswer(requestId, std::move(response));
    }
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
  std::unordered_set<ObjectIndex> taken;
  for (const std::string& id : request.startIds) {
    const ObjectIndex index = tree_.indexOf(id);
    if (taken.insert(index).second) {
      start.push_back(index);
    }
  }
  return sandbox::select(requestId, tree_, Pattern(std::move(request.pattern), tree_), std::move(start));
}

}  // namespace morvex::sandbox
