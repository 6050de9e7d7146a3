#pragma once

#include <string>
#include <string_view>

namespace morvex {

// Terminals, by what a program that shows something beside its data has to know about them.

enum class StandardStream { input, output, error };  // in the order of their descriptors, from 0

// The C library's number of a file, or a standard stream.
bool isTerminal(int descriptor);
inline bool isTerminal(StandardStream stream) { return isTerminal(static_cast<int>(stream)); }

// Whether a file of that name, which the program is about to open, is a terminal. Only devices are opened to
// find out: opening a pipe would be noticed at its other end.
bool isTerminal(const std::string& fileName);

// What became of a text for the terminal behind standard error.
enum class TerminalOutcome {
  shown,
  heldBack,  // it has no room now, or is not ours to write to now
  lost,      // it will take no more
};

// Prepares showOnErrorTerminal. False if standard error is no terminal, or not to be had that way.
bool openErrorTerminal();

// Shows a text that may as well be missed. Never waits, not even for a terminal that the user has halted, and
// writes nothing from the background, where that might stop the process. Without faults.
TerminalOutcome showOnErrorTerminal(std::string_view text) noexcept;

}  // namespace morvex
