#include "sandbox/calls.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "protocol/facts.h"
#include "query/tql/property_codec.h"
#include "sandbox/object_nesting.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {
namespace {

constexpr std::size_t kObjectsPerPortion = 256;

// A CallResp with metric objects: one, or all of them.
class MetricAnswer final : public Answer {
 public:
  MetricAnswer(std::int32_t requestId, const Metrics& metrics, std::size_t first, std::size_t behindLast)
      : requestId_(requestId), metrics_(metrics), first_(first), next_(first), behindLast_(behindLast) {}

  bool writePortion(protocol::BasicIo& io, bool legacy) override {
    ItemWriter to(io, legacy);
    if (next_ == first_) {
      to.openResponse(requestId_, protocol::CallResp::kSchema.tag);
      to.open(protocol::BE_SEQ);
      to.close();
      to.open(protocol::BE_SEQ);
    }
    for (std::size_t count = 0; count < kObjectsPerPortion && next_ < behindLast_; ++count) {
      writeObject(to, next_++);
    }
    if (next_ < behindLast_) {
      to.flush();
      return false;
    }
    nesting_.end(to);
    to.close();
    to.closeResponse();
    to.flush();
    return true;
  }

 private:
  void writeObject(ItemWriter& to, std::size_t index) {
    const MetricObject object = metrics_[index];
    const std::uint32_t topDepth = metrics_[first_].depth;
    nesting_.begin(to, object.depth - topDepth, std::string(object.className),
                   static_cast<std::uint32_t>(index), std::to_string(index + 1), "1");
    writeText(to, "name", object.name);
    if (object.isMetric) {
      writeText(to, "unit", object.unit);
      writeText(to, "description", object.description);
    }
    nesting_.endProperties(to);
  }

  void writeText(ItemWriter& to, const std::string& name, std::string_view text) {
    tql::encode(scratch_, name, tql::kString | tql::kReadOnly, std::string(text));
    scratch_.write(to);
  }

  std::int32_t requestId_;
  const Metrics& metrics_;
  std::size_t first_, next_, behindLast_;
  ObjectNesting nesting_;
  protocol::Property scratch_;
};

const protocol::ListOfString1024& pathIn(const protocol::CallReq& request) {
  for (const auto& parameter : request.parameters) {
    if (parameter.name == "name") {
      const auto* const path = parameter.data.as<protocol::StringListProp>();
      if (path == nullptr || (parameter.typeWord & tql::kBaseMask) != tql::kStringList) {
        throw Refusal(ErrorCode::illegalType, "Parameter \"name\" takes a list of strings");
      }
      return path->value;
    }
  }
  throw Refusal(ErrorCode::missingProperty, "Parameter \"name\" is missing");
}

}  // namespace

std::unique_ptr<Answer> Calls::serve(std::int32_t requestId, const protocol::CallReq& request) const {
  switch (request.method) {
    case protocol::method::kMetricTree:
      return std::make_unique<MetricAnswer>(requestId, metrics_, 0, metrics_.size());
    case protocol::method::kMetricValue: {
      auto response = std::make_unique<protocol::Response>();
      response->requestId = requestId;
      auto& properties = response->resp.emplace<protocol::CallResp>().properties;
      metrics_.read(metrics_.find(pathIn(request)), properties);
      return std::make_unique<MessageAnswer>(std::move(response));
    }
    case protocol::method::kMetricDescription: {
      const std::size_t index = metrics_.find(pathIn(request)).index;
      return std::make_unique<MetricAnswer>(requestId, metrics_, index, index + 1);
    }
    default:
      throw Refusal(ErrorCode::notImplemented, "There is no method " + std::to_string(request.method));
  }
}

}  // namespace morvex::sandbox
