#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

#include "protocol/messages/object_tree.h"
#include "query/query.h"
#include "query/result.h"

namespace morvex::tqlquery {

// Invokes a numbered method of the server, with properties and objects going either way. Used once.
class Call : public comquery::Exchange<protocol::CallReq, protocol::CallResp> {
 public:
  // The objects are copied.
  explicit Call(std::int32_t method, protocol::ListOfProperty parameters = {},
                const std::vector<const Result*>& objects = {})
      : Exchange("Wrong type in Select::decode.") {  // the text of all queries on the tree
    request_->method = method;
    request_->parameters = std::move(parameters);
    for (const Result* object : objects) {
      request_->objects.emplace_back(toObject(*object));
    }
  }

  // From the answer; both are empty until then, and after a refusal.
  protocol::ListOfProperty resultProperties;  // of two with one name the first counts
  protocol::ListOfObject resultObjects;

 protected:
  ~Call() override = default;
  void take(protocol::CallResp& answer) override {
    std::ranges::move(answer.properties, std::back_inserter(resultProperties));
    resultObjects = std::exchange(answer.objects, {});
  }
};

}  // namespace morvex::tqlquery
