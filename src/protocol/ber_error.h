#pragma once

#include <string>

#include "foundation/errors.h"

namespace morvex::protocol {

// A byte stream that does not fit the protocol, or a value that must not be sent.
class EBer : public error::EParseError {
  using EParseError::EParseError;

 public:
  // As text, but of a place deeper than 20 levels only both ends, ten levels each: a server can nest by the
  // hundred thousand.
  std::string shortText() const;
};

}  // namespace morvex::protocol
