#include "session/request.h"

#include <vector>

namespace comquery {

void Request::release() {
  if (--references_ == 0) {
    delete this;
  }
}

void keepToTheEnd(Request* request) {
  static auto& kept = *new std::vector<Request*>;  // stands, and is known, to the end
  kept.push_back(request);
}

}  // namespace comquery
