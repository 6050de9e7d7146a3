#pragma once

#include "foundation/errors.h"

namespace morvex::protocol {

// A byte stream that does not fit the protocol, or a value that must not be sent.
class EBer : public error::EParseError {
  using EParseError::EParseError;
};

}  // namespace morvex::protocol
