#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace sandbox {

// The codes of errorText that this server refuses requests with.
enum class ErrorCode : std::int32_t {
  unknownId = 1,
  nothingMatched = 2,
  incomparable = 11,
  notImplemented = 12,
  backendError = 14,
};

// A request that cannot be served, thrown from wherever that is found out. The text, if any, goes to the
// client beside the code.
struct Refusal {
  explicit Refusal(ErrorCode reason, std::string words = {}) : code(reason), text(std::move(words)) {}

  ErrorCode code;
  std::string text;
};

}  // namespace sandbox
