#pragma once

#include <cstdint>
#include <memory>
#include <typeinfo>
#include <utility>

#include "foundation/errors.h"
#include "protocol/messages/object_tree.h"
#include "session/connection.h"
#include "session/request.h"

namespace morvex::comquery {

// A request for one answer. A query is made with comquery::make, posted and awaited once, and then holds what
// the server said:
//   const auto query = comquery::make<tqlquery::Select>(connection->rootObjectId(), "Domain*[siblingName]");
//   connection->post(*query);
//   if (connection->await(*query) == 0) { ... query->find_result_opt(connection->rootObjectId()) ... }
// What a query is given must fit the limits in the record of its request, in protocol/messages; post throws
// protocol::EBer for anything else. The answer lives as long as the query.
class Query : public Request {
 public:
  void finished(Connection& connection) override { connection.forget(*this); }

  // Called when the answer has been taken, and for the server's refusal: its code, which errorText knows, and
  // the texts that came with it. Inside await; they may post further requests.
  virtual void onSuccess() {}
  virtual void onError(std::uint32_t, const protocol::ListOfString1024&) {}

 protected:
  ~Query() override = default;
};

// A query by the records of its request, which the constructor fills, and of its answer.
template <class Asked, class Answered>
class Exchange : public Query {
 public:
  std::unique_ptr<protocol::Record> encode() override { return std::move(request_); }

  // A refusal sets the error code.
  void decode(protocol::Record& payload) override {
    if (typeid(payload) == typeid(Answered)) {
      take(static_cast<Answered&>(payload));
      setErrorCode(0);
      onSuccess();
    } else if (typeid(payload) == typeid(protocol::ErrorResp)) {
      const auto& refusal = static_cast<protocol::ErrorResp&>(payload);
      setErrorCode(static_cast<std::uint32_t>(refusal.code));
      onError(errorCode(), refusal.args);
    } else {
      throw errors::bererror(wrongType_);
    }
  }

 protected:
  // wrongType is the text of the error for a payload of another class.
  explicit Exchange(const char* wrongType) : wrongType_(wrongType) {}
  ~Exchange() override = default;

  // Moves what the query keeps out of the answer.
  virtual void take(Answered& answer) = 0;

  std::unique_ptr<Asked> request_ = std::make_unique<Asked>();  // until encode

 private:
  const char* wrongType_;
};

}  // namespace morvex::comquery
