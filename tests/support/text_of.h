#pragma once

#include <string>

namespace morvex {

// The text of the E that the action throws; "nothing thrown" if it throws nothing.
template <class E, class Action>
std::string textOf(Action action) {
  try {
    action();
  } catch (const E& fault) {
    return fault.text();
  }
  return "nothing thrown";
}

}  // namespace morvex
