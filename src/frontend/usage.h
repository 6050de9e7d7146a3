#pragma once

#include <string_view>

// Reports a bad command line on standard error and ends the process with exit code 1.
[[noreturn]] void usageError(std::string_view message, const char* programName);

// Writes the help text to standard output.
void printUsage(const char* programName);
