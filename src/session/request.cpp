#include "session/request.h"

namespace comquery {

void Request::release() {
  if (--references_ == 0) {
    delete this;
  }
}

}  // namespace comquery
