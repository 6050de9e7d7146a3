#pragma once

#include <chrono>
#include <cstddef>

#include "sandbox/activity.h"

namespace morvex::sandbox {

// The time that the work for one client takes at a stretch; then the other clients have their turn.
class Turn {
 public:
  explicit Turn(Time end) : end_(end) {}

  bool isOver(Time now = std::chrono::steady_clock::now()) const { return now >= end_; }

  // For work in very small steps: to be told what each step cost, in comparisons of two values, and asked
  // behind it. Looks at the clock only once in a while.
  void spend(std::size_t comparisons) { spent_ += comparisons; }
  bool isSpent() {
    if (spent_ < kLook) {
      return false;
    }
    const bool over = isOver();
    spent_ = over ? kLook : 0;
    return over;
  }

 private:
  static constexpr std::size_t kLook = 64;  // comparisons from one look at the clock to the next

  Time end_;
  std::size_t spent_ = kLook;
};

}  // namespace morvex::sandbox
