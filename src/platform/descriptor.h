#pragma once

#include <string>
#include <string_view>

namespace morvex {

// Files that are written to, by the numbers under which the C library of either system knows them.

inline constexpr int kStandardOutput = 1, kStandardError = 2;

// Creates the file or replaces its contents. -1 if it cannot be opened.
int platform_create_file(const std::string& name);

// Writes all of it, with the line ends of the system. Returns 0 or an error number: EPIPE if nobody reads
// there any more.
int platform_write(int descriptor, std::string_view text) noexcept;

// The descriptor is released in any case. Returns 0 or an error number.
int platform_close(int descriptor) noexcept;

}  // namespace morvex
