#pragma once

#include <memory>

#include "protocol/messages/envelope.h"
#include "sandbox/answer.h"
#include "sandbox/tree.h"

namespace sandbox {

// Serves the requests of all clients. What it cannot serve it refuses with an error code.
class Handler {
 public:
  // The tree must outlive the handler and its answers.
  explicit Handler(const Tree& tree) : tree_(tree) {}

  std::unique_ptr<Answer> answer(protocol::Request& request) const;

  // The object from which clients start.
  std::string rootId() const { return tree_.id(Tree::kRoot); }

 private:
  std::unique_ptr<Answer> serve(std::int32_t requestId, protocol::SelectReq& request) const;
  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::GetDataReq& request) const;
  std::unique_ptr<Answer> serve(std::int32_t requestId, const protocol::GetLastDataReq& request) const;

  ObjectIndex objectWith(const std::string& id) const;
  Series seriesOf(const std::string& id, const std::string& tableName) const;

  const Tree& tree_;
};

}  // namespace sandbox
