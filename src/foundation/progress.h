#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "foundation/terminal.h"

// Where the bytes of a phase go: from and to the server, from and to the file or standard stream of the data.
enum class Way { received, sent, read, written };

// One line on the terminal, by which long work shows that it goes on: "Received 12.3 MB, 345,678 rows". It
// first appears a second after the start and is drawn at most ten times a second, both when there is news:
// there is neither a timer nor a thread, and the clock is looked at where a block of bytes is counted. It
// takes no memory and has no faults: what cannot be shown is missed.
class ProgressLine {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Show = TerminalOutcome (*)(std::string_view text) noexcept;

  constexpr ProgressLine() = default;
  ~ProgressLine() { wipe(); }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Until then nothing is counted, and nothing shown.
  void start(Show how, Time now);

  // The next phase: counts its bytes and rows from zero. The name of the rows is short, and outlives the
  // line.
  void enter(Way way, std::string_view rowName);

  // Counts a block; those of another way than the phase's are left out.
  void count(Way way, std::size_t bytes) {
    if (show_ != nullptr && way == way_) {
      bytes_ += bytes;
      behind_ = true;
      update(std::chrono::steady_clock::now());
    }
  }

  // Whether there is something to show that the line does not say yet.
  bool isBehind() const { return behind_; }

  // Draws the line if it is time to.
  void update(Time now);

  // Takes the line off the terminal, to which something else is about to be written.
  void wipe() noexcept;

 private:
  void draw() noexcept;
  void show(std::string_view text, std::size_t width) noexcept;

  Show show_ = nullptr;
  Time next_{};  // the line is not drawn before
  Way way_ = Way::received;
  std::string_view rowName_;
  std::uint64_t bytes_ = 0;
  bool behind_ = false;
  std::size_t width_ = 0;  // of what is on the terminal
};

// The line of this process. The end of the run wipes it.
extern ProgressLine g_progress;
