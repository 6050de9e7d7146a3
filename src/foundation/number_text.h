#pragma once

#include <cstddef>
#include <cstdint>

namespace morvex {

// Fast conversions between numbers and text in the caller's memory, always as in the C locale. text.h has the
// same for strings.

// The bytes that a put function needs. They are more than the longest text: digits are stored by the word,
// and a few bytes after the text change as well. Each put function returns the end of the text.
inline constexpr std::size_t kNumberRoom = 24;

char* putUint(char* to, std::uint32_t value);
char* putInt(char* to, std::int32_t value);

// In groups of three digits: "12,345,678". Needs 26 bytes of room.
char* putGrouped(char* to, std::uint64_t value);

// The bytes of printf's %g: six significant digits. Also "nan", "-nan", "inf" and "-inf".
char* putReal(char* to, double value);

// The bytes of printf's %e, six decimals: "3.540920e+01". For finite values.
char* putScientific(char* to, double value);

// Reads a decimal number, such as "12", "-1.5" or "3.540920e+01", as strtod does: gives the nearest double.
// False for any other text (empty, blanks, a plus in front, hexadecimal, "inf") and out of range; value then
// stays as it was, and strtod decides.
bool readDecimal(const char* begin, const char* end, double& value);

// Take the number at the front of a text in one pass and return its end. Null if there is none, or one of too
// many digits or out of range; value then stays as it was.
const char* takeDecimal(const char* begin, const char* end, double& value);
const char* takeUint(const char* begin, const char* end, std::uint32_t& value);

}  // namespace morvex
