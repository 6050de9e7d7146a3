#include "query/update.h"

#include <utility>

namespace morvex::tqlquery {

Update::Update(std::string id, std::string version, std::list<protocol::Property> properties)
    : id_(std::move(id)), version_(std::move(version)), properties_(std::move(properties)) {}

std::unique_ptr<protocol::BerValue> Update::encode() {
  auto request = std::make_unique<protocol::UpdateReq>();
  request->id = id_;
  request->version = version_;
  for (protocol::Property& property : properties_) {
    request->properties.push_back(std::move(property));
  }
  return request;
}

void Update::decode(protocol::BerValue& response) {
  const auto take = [this](protocol::UpdateResp& answer) { newVersion = std::move(answer.version); };
  // The text names Select for every query on the tree.
  decodeAnswer<protocol::UpdateResp>(response, "Wrong type in Select::decode.", take);
}

}  // namespace morvex::tqlquery
