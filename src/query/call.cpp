#include "query/call.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace morvex::tqlquery {

Call::Call(std::int32_t method, std::list<protocol::Property> parameters, std::vector<const Result*> objects)
    : method_(method), parameters_(std::move(parameters)), objects_(std::move(objects)) {}

std::unique_ptr<protocol::BerValue> Call::encode() {
  auto request = std::make_unique<protocol::CallReq>();
  request->method = method_;
  for (protocol::Property& parameter : parameters_) {
    request->parameters.push_back(std::move(parameter));
  }
  parameters_.clear();
  for (const Result* object : objects_) {
    request->objects.emplace_back(toObject(*object));
  }
  return request;
}

void Call::decode(protocol::BerValue& response) {
  const auto take = [this](protocol::CallResp& answer) {
    std::ranges::move(answer.properties, std::back_inserter(resultProperties));
    resultObjects = std::exchange(answer.objects, {});
  };
  // The text is the same for all queries on the tree.
  decodeAnswer<protocol::CallResp>(response, "Wrong type in Select::decode.", take);
}

}  // namespace morvex::tqlquery
