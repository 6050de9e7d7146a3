#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/terminal.h"
#include "platform/traffic.h"

namespace morvex {

// One line on the terminal, by which long work shows that it goes on: "Received 12.3 MB, 345,678 rows". It
// first appears a second after the start and is drawn at most ten times a second, both when there is news:
// there is neither a timer nor a thread. It reads what g_traffic counts, and whoever owns it calls update
// when g_traffic tells that something has passed. It takes no memory and has no faults: what cannot be shown
// is missed.
class ProgressLine {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Show = TerminalOutcome (*)(std::string_view text) noexcept;

  constexpr ProgressLine() = default;
  ~ProgressLine() { wipe(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Until then nothing is shown.
  void start(Show how, Time now);

  // The next phase: shows its bytes and rows from zero. The name of the rows is short, and outlives the line.
  // rowKind is that of g_traffic.
  void enter(Way way, std::string_view rowName, const void* rowKind = nullptr);

  // Notes in g_traffic whether the line is behind what has passed, and draws it if it is time to.
  void update(Time now);

  // Takes the line off the terminal, to which something else is about to be written.
  void wipe() noexcept;

 private:
  std::uint64_t bytes() const { return g_traffic.bytes[static_cast<std::size_t>(way_)] - bytesBefore_; }
  void draw() noexcept;
  void show(std::string_view text, std::size_t width) noexcept;

  Show show_ = nullptr;
  Time next_{};  // the line is not drawn before
  Way way_ = Way::received;
  std::string_view rowName_;
  std::uint64_t bytesBefore_ = 0, rowsBefore_ = 0;  // this phase
  std::uint64_t bytesShown_ = 0;
  std::size_t width_ = 0;  // of what is on the terminal
};

// The line of this process. The end of the run wipes it.
extern ProgressLine g_progress;

}  // namespace morvex
