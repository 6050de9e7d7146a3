#pragma once

#include <string>
#include <string_view>

namespace morvex {

// Terminals, for a program that shows more than its data.

enum class StandardStream { input, output, error };  // in the order of their descriptors, from 0

// descriptor is the C library's number of a file.
bool isTerminal(int descriptor);
inline bool isTerminal(StandardStream stream) { return isTerminal(static_cast<int>(stream)); }

// Whether the file of that name is a terminal. Opens only devices to find out: the other end of a pipe would
// notice.
bool isTerminal(const std::string& fileName);

// The outcome for a text on the terminal of standard error.
enum class TerminalOutcome {
  shown,
  heldBack,  // there is no room now, or the process is in the background
  lost,      // the terminal will take no more
};

// Prepares showOnErrorTerminal. False if standard error is no terminal, or cannot be opened once more.
bool openErrorTerminal();

// Shows a text that may get lost. Never waits, not even for a halted terminal, and writes nothing from the
// background, where a write might stop the process. Never fails.
TerminalOutcome showOnErrorTerminal(std::string_view text) noexcept;

}  // namespace morvex
