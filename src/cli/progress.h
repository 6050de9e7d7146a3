#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/terminal.h"
#include "platform/traffic.h"

namespace morvex {

// One line on the terminal that shows the progress of long work: "Received 12.3 MB, 345,678 rows". It first
// appears a second after the start and is drawn at most ten times a second, always from update: there is
// neither a timer nor a thread. It shows the counts of g_traffic, whose show function calls update. It takes
// no memory and never throws; a text that cannot be shown is skipped.
class ProgressLine {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Show = TerminalOutcome (*)(std::string_view text) noexcept;

  constexpr ProgressLine() = default;
  ~ProgressLine() { wipe(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Nothing is shown before this call.
  void start(Show how, Time now);

  // Begins a phase, whose bytes and rows count from zero. rowName is short and outlives the line. rowKind is
  // the table of the records that count as rows while they are sent or received, as in g_traffic.
  void enter(Way way, std::string_view rowName, const void* rowKind = nullptr);

  // Draws the line if it is due, and notes in g_traffic whether it is behind the counts.
  void update(Time now);

  // Clears the line before something else is written to the terminal.
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
