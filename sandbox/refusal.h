#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace morvex::sandbox {

// The codes of errorText that this server refuses requests with.
enum class ErrorCode : std::int32_t {
  unknownId = 1,
  nothingMatched = 2,
  conflict = 3,
  duplicate = 4,
  missingProperty = 6,
  unknownProperty = 7,
  constProperty = 8,
  illegalType = 9,
  illegalValue = 10,
  incomparable = 11,
  notImplemented = 12,
  backendError = 14,
  accessDenied = 15,
};

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
