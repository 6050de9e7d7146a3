#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <string>

#include "foundation/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace morvex {

// Stops the fuzzer at a broken promise, saying which.
inline void require(bool holds, const std::string& promise) {
  if (!holds) {
    std::fprintf(stderr, "Broken: %s\n", promise.c_str());
    __builtin_trap();
  }
}

// What an action returns, or its refusal. Anything else that it throws is a finding.
template <class Fault = error::Exception, class Action>
std::string outcomeOf(Action action) {
  try {
    return action();
  } catch (const Fault& fault) {
    require(!fault.text().empty(), "a refusal says why");
    return "refused: " + fault.text();
  }
}

}  // namespace morvex
