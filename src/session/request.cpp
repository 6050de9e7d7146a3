#include "session/request.h"

namespace morvex::comquery {

void Request::release() {
  if (--references_ == 0) {
    delete this;
  }
}

void Request::keepToTheEnd(Request* request) {
  static Request* newest = nullptr;  // keeps them reachable, so that leak checkers stay silent
  request->keptBefore_ = std::exchange(newest, request);
}

}  // namespace morvex::comquery
