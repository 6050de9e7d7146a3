#pragma once

#include <cstddef>
#include <cstdint>

namespace morvex {

// Numbers to text and back where rows and messages come by the million: into room that the caller has, always
// as in the C locale. text.h has the same by strings.

// How many bytes a put function needs from where it writes: more than the longest text, as digits are stored
// by the word, so that a few bytes behind the text change too. Each returns the end of the text.
inline constexpr std::size_t kNumberRoom = 24;

char* putUint(char* to, std::uint32_t value);
char* putInt(char* to, std::int32_t value);

// The bytes of printf's %g: six significant digits. Also "nan", "-nan", "inf" and "-inf".
char* putReal(char* to, double value);

// The bytes of printf's %e, six decimals: "3.540920e+01". For finite values.
char* putScientific(char* to, double value);

// Reads a plain decimal number, such as "12", "-1.5", "35.4092" or "3.540920e+01", as strtod does: the double
// next to it. False for all else, such as an empty text, blanks, a plus in front, hexadecimal, "inf", and
// what is out of range; then the value is left as it was, and strtod decides.
bool readDecimal(const char* begin, const char* end, double& value);

// Take the number at the front of a text, in one pass: return where it ends. Null for what has no short way,
// such as a number of many digits, one out of range or none at all; then the value is left as it was.
const char* takeDecimal(const char* begin, const char* end, double& value);
const char* takeUint(const char* begin, const char* end, std::uint32_t& value);

}  // namespace morvex
