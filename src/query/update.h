#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "protocol/messages/object_tree.h"
#include "query/query.h"

namespace morvex::tqlquery {

// Writes properties of one object. It quotes the version of the object that the caller read, and the server
// refuses it with code 3 if the object has changed since. Used once.
class Update : public virtual comquery::Query {
 public:
  // properties: the new values, made with tql::encode.
  Update(std::string id, std::string version, std::list<protocol::Property> properties);

  std::unique_ptr<protocol::BerValue> encode() override;
  void decode(protocol::BerValue& response) override;

  std::string newVersion;  // from the answer; empty until then, and after a refusal

 protected:
  ~Update() override = default;

 private:
  std::string id_, version_;
  std::list<protocol::Property> properties_;  // the new values only; until encode
};

}  // namespace morvex::tqlquery
