#include "session/request.h"

namespace morvex::comquery {

void Request::release() {
  if (--references_ == 0) {
    delete this;
  }
}

void Request::keepToTheEnd(Request* request) {
  static Request* newest = nullptr;  // from here all can be reached: what is left on purpose is no leak
  request->keptBefore_ = std::exchange(newest, request);
}

}  // namespace morvex::comquery
