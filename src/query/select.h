#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/object_tree.h"
#include "query/query.h"
#include "query/result.h"

namespace morvex::tqlquery {

// The read query on the object tree: a TQL expression, matched by the server from one start object.
class Select : public comquery::Exchange<protocol::SelectReq, protocol::SelectResp> {
 public:
  // Parses the expression. Its first step is matched with the object startId, such as
  // Connection::rootObjectId. options may be protocol::kStayRegistered. Throws as
  // tql::parse does.
  Select(std::string startId, std::string expression, std::uint32_t options = 0);

  // The answer's tree below one start object; null if there is none. The tree lives as long as the query.
  // Throws errors::selecterror before the answer has come.
  const Result* find_result_opt(const std::string& id) const;

  std::string describe() const override;
  void finished(Connection& connection) override;

 protected:
  ~Select() override = default;
  void take(protocol::SelectResp& answer) override;

 private:
  protocol::ListOfObject results_;
  std::string startId_, expression_;
  std::uint32_t options_;
};

}  // namespace morvex::tqlquery
