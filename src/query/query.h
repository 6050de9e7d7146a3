#pragma once

#include <cstdint>
#include <typeinfo>

#include "foundation/errors.h"
#include "protocol/messages/object_tree.h"
#include "session/connection.h"
#include "session/request.h"

namespace morvex::comquery {

// What all queries share: how they take their answer, and that one answer is all they wait for. A query is
// made with comquery::make, posted and awaited once, and then holds what the server said:
//   const auto query = comquery::make<tqlquery::Select>(connection->rootObjectId(), "Domain*[siblingName]");
//   connection->post(*query);
//   if (connection->await(*query) == 0) { ... query->find_result_opt(connection->rootObjectId()) ... }
// What a query is given must fit the limits in the record of its request, in protocol/messages; post throws
// protocol::EBer for anything else. What a query answers with lives as long as the query.
class Query : public Request {
 public:
  void finished(Connection& connection) override { connection.forget(*this); }

  // Told when the answer has been taken, and of the server's refusal: its code, which errorText knows, and
  // the texts that came with it. Inside await; they may post further requests.
  virtual void onSuccess() {}
  virtual void onError(std::uint32_t, const protocol::ListOfString1024&) {}

 protected:
  ~Query() override = default;

  // The body of decode. An answer of the class Good goes to take; a refusal sets the error code. Throws
  // errors::bererror with the given text for a payload of any other class.
  template <class Good, class Take>
  void decodeAnswer(protocol::BerValue& payload, const char* wrongType, Take take) {
    if (typeid(payload) == typeid(Good)) {
      take(static_cast<Good&>(payload));
      setErrorCode(0);
      onSuccess();
    } else if (typeid(payload) == typeid(protocol::ErrorResp)) {
      const auto& refusal = static_cast<protocol::ErrorResp&>(payload);
      setErrorCode(static_cast<std::uint32_t>(refusal.code));
      onError(errorCode(), refusal.args);
    } else {
      throw errors::bererror(wrongType);
    }
  }
};

}  // namespace morvex::comquery
