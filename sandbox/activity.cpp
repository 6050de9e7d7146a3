#include "sandbox/activity.h"

namespace morvex::sandbox {

RequestKind kindOf(const protocol::Request& request) {
  const auto& req = request.req;
  return req.as<protocol::CallReq>() != nullptr          ? RequestKind::call
         : req.as<protocol::GetDataReq>() != nullptr     ? RequestKind::getData
         : req.as<protocol::GetLastDataReq>() != nullptr ? RequestKind::getLastData
         : req.as<protocol::PutDataReq>() != nullptr     ? RequestKind::putData
         : req.as<protocol::SelectReq>() != nullptr      ? RequestKind::select
         : req.as<protocol::UpdateReq>() != nullptr      ? RequestKind::update
                                                         : RequestKind::other;
}

}  // namespace morvex::sandbox
