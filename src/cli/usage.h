#pragma once

#include <string_view>

namespace morvex {

// Reports a bad command line on standard error and ends the process with exit code 1.
[[noreturn]] void usageError(std::string_view message);

// Writes the help text to standard output. Throws as Output does.
void printUsage();

}  // namespace morvex
