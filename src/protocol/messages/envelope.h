#pragma once

#include <cstdint>

#include "protocol/field.h"
#include "protocol/messages/object_tree.h"
#include "protocol/messages/time_series.h"

// The two envelopes in which all object and data traffic runs. A response carries the number of its request.
namespace morvex::protocol {

struct Request final : Message<Request> {
  std::int32_t requestId = 0;
  OneOf<SelectReq, EraseReq, UpdateReq, CreateReq, ForgetReq, GetDataReq, PutDataReq, GetLastDataReq, CallReq>
      req;
  static constexpr Field kFields[] = {
      field<&Self::requestId>("requestId", between(0, 2147483647)),
      field<&Self::req>("req"),
  };
  static constexpr Schema kSchema{.tag = application(20), .fields = kFields};
};

struct Response final : Message<Response> {
  std::int32_t requestId = 0;
  OneOf<SelectResp, EraseResp, UpdateResp, CreateResp, ForgetResp, GetDataResp, PutDataResp, ErrorResp,
        GetLastDataResp, CallResp>
      resp;
  static constexpr Field kFields[] = {
      field<&Self::requestId>("requestId", between(0, 2147483647)),
      field<&Self::resp>("resp"),
  };
  static constexpr Schema kSchema{.tag = application(21), .fields = kFields};
};

}  // namespace morvex::protocol
