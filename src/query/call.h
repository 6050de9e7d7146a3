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

// The methods of the server that this client calls. The last two take the property "name", a String List: the
// metric's path.
inline constexpr std::int32_t kMetricTree = 1;         // answers with one object, the root of the tree
inline constexpr std::int32_t kMetricValue = 2;        // answers with properties
inline constexpr std::int32_t kMetricDescription = 3;  // answers with one object

// Invokes a numbered method of the server, with properties and objects going either way. Used once.
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
