#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "protocol/messages/object_tree.h"
#include "query/query.h"
#include "query/result.h"

namespace morvex::tqlquery {

// The read query on the object tree: a TQL expression, matched by the server from one start object.
class Select : public virtual comquery::Query {
 public:
  // Parses the expression. startId is the object that its first step is matched with, such as
  // Connection::rootObjectId. options may be protocol::kStayRegistered. Throws as
  // tql::parse does.
  Select(std::string startId, std::string expression, std::uint32_t options = 0);

  // The answer's tree below one start object; null if there is none. The tree lives as long as the query.
  // Throws errors::selecterror before the answer has come.
  const Result* find_result_opt(const std::string& id) const;

  std::string describe() const override;
  std::unique_ptr<protocol::BerValue> encode() override;
  void decode(protocol::BerValue& response) override;
  void finished(Connection& connection) override;

 protected:
  ~Select() override = default;

 private:
  protocol::ListOfObject results_;
  std::list<std::string> startIds_;
  std::unique_ptr<protocol::PathPattern> pattern_;  // until encode
  std::uint32_t options_;
  std::string expression_;
};

}  // namespace morvex::tqlquery
