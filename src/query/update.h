#pragma once

#include <string>
#include <utility>

#include "protocol/messages/object_tree.h"
#include "query/query.h"

namespace morvex::tqlquery {

// Writes properties of one object. It quotes the version of the object that the caller read; the server
// refuses it with code 3 if the object has changed since. Used once.
class Update : public comquery::Exchange<protocol::UpdateReq, protocol::UpdateResp> {
 public:
  // properties: the new values, made with tql::encode.
  Update(std::string id, std::string version, protocol::ListOfProperty properties)
      : Exchange("Wrong type in Select::decode.") {  // the text of all queries on the tree
    request_->id = std::move(id);
    request_->version = std::move(version);
    request_->properties = std::move(properties);
  }

  std::string newVersion;  // from the answer; empty until then, and after a refusal

 protected:
  ~Update() override = default;
  void take(protocol::UpdateResp& answer) override { newVersion = std::move(answer.version); }
};

}  // namespace morvex::tqlquery
