#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace morvex {

// Files by the numbers of the C library, which are the same on every system. The streams of input.h and
// output.h stand on them.

inline constexpr int kStandardInput = 0, kStandardOutput = 1, kStandardError = 2;

// Opens a file for reading. -1 if it cannot be opened.
int platform_open_file(const std::string& name);

// Creates the file or replaces its contents. -1 if it cannot be opened.
int platform_create_file(const std::string& name);

// Waits for input and puts as much as there is, at least one byte, into the block. Sets count to the number
// of bytes, 0 at the end of the input. Returns 0 or an error number.
int platform_read(int descriptor, std::span<char> block, std::size_t& count) noexcept;

// Writes all of it, with the line ends of the system. Returns 0 or an error number: EPIPE if nobody reads
// there any more.
int platform_write(int descriptor, std::string_view text) noexcept;

// The descriptor is released in any case. Returns 0 or an error number.
int platform_close(int descriptor) noexcept;

}  // namespace morvex
