#pragma once

#include <string_view>

namespace morvex {

// Both know the program by the name that its documentation uses, whatever file it was started from.

// Reports a bad command line on standard error and ends the process with exit code 1.
[[noreturn]] void usageError(std::string_view message, const char* programName);

// Writes the help text to standard output. Throws as Output does.
void printUsage(const char* programName);

}  // namespace morvex
