#pragma once

#include <string>
#include <utility>
#include <vector>

#include "foundation/errors.h"

namespace morvex::sandbox {

// A request that cannot be served, thrown from wherever that is found out. The texts, if any, go to the
// client beside the code.
struct Refusal {
  explicit Refusal(ErrorCode reason) : code(reason) {}
  Refusal(ErrorCode reason, std::string text) : code(reason), texts{std::move(text)} {}
  Refusal(ErrorCode reason, std::vector<std::string> several) : code(reason), texts(std::move(several)) {}

  ErrorCode code;
  std::vector<std::string> texts;
};

}  // namespace morvex::sandbox
