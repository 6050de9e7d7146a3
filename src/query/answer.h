#pragma once

#include <cstdint>
#include <typeinfo>

#include "foundation/errors.h"
#include "protocol/messages/object_tree.h"

namespace comquery {

// What every query's decode does with the payload of a response. An answer of the class Good goes to take,
// and the query is told of its success; a refusal sets the error code and goes to the query's onError.
// Throws errors::bererror with the given text for a payload of any other class.
template <class Good, class Query, class Take>
void decodeAnswer(Query& query, protocol::BerValue& payload, const char* wrongType, Take take) {
  if (typeid(payload) == typeid(Good)) {
    take(static_cast<Good&>(payload));
    query.setErrorCode(0);
    query.onSuccess();
  } else if (typeid(payload) == typeid(protocol::ErrorResp)) {
    const auto& refusal = static_cast<protocol::ErrorResp&>(payload);
    const auto code = static_cast<std::uint32_t>(refusal.code);
    query.setErrorCode(code);
    query.onError(code, refusal.args);
  } else {
    throw errors::bererror(wrongType);
  }
}

}  // namespace comquery
