#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "protocol/messages/object_tree.h"
#include "query/query.h"
#include "query/result.h"

namespace morvex::tqlquery {

// Invokes a method of the server (protocol::method), with properties and objects going either way. Used once.
class Call : public virtual comquery::Query {
 public:
  // The objects stay the caller's and must outlive encode.
  Call(std::int32_t method, std::list<protocol::Property> parameters, std::vector<const Result*> objects);

  std::unique_ptr<protocol::BerValue> encode() override;
  void decode(protocol::BerValue& response) override;

  // From the answer; both are empty until then, and after a refusal.
  protocol::ListOfProperty resultProperties;  // of two with one name the first counts
  protocol::ListOfObject resultObjects;

 protected:
  ~Call() override = default;

 private:
  std::int32_t method_;
  std::list<protocol::Property> parameters_;
  std::vector<const Result*> objects_;
};

}  // namespace morvex::tqlquery
