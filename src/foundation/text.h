#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

// Numbers, bytes and identifiers to text and back, always as in the C locale.
// A conversion from text consumes the whole text or throws error::EParseError. The empty text gives 0.

// Decimal text. With pad it has at least two digits.
std::string uintToString(std::uint32_t value, bool pad = false);
std::string intToString(std::int32_t value, bool pad = false);
std::string uint64ToString(std::uint64_t value);

// Lower-case hexadecimal, padded on the left with zeros up to minimumWidth.
std::string hexToString(std::uint32_t value, std::size_t minimumWidth);

// As printf's %f; a negative width or precision means the default. Otherwise "nan", "inf" or "-inf".
std::string realToString(double value, int width, int precision);

// Appends the value as printf's %g does, with six significant digits. Listings print reals this way.
void appendReal(std::string& text, double value);

// As strtod; also takes "nan", "inf" and "-inf".
double stringToReal(std::string_view text);

// As strtol and strtoul in base 10 with 32-bit results: out of range gives the nearest limit, and
// stringToUint takes a minus and wraps.
std::int32_t stringToInt(std::string_view text);
std::uint32_t stringToUint(std::string_view text);

// As strtoul in base 16, but refuses a number out of range.
std::uint32_t hexStringToUint(const std::string& text);

// A GID is four bytes in hexadecimal, most significant first: "0a:0b:0c:0d".
std::string gidToString(std::uint32_t gid);
std::uint32_t stringToGid(const std::string& text);

// The text in double quotes, with C escapes for quotes, backslashes and control characters.
std::string quotedString(std::string_view text);

// Takes the first character of a text, which must have one, and puts it as a terminal may be shown it. Each
// byte becomes an escape if it belongs to a control character, except tab and line end, or to no character of
// UTF-8. Needs 8 bytes of room. Returns the end of what it has put.
char* putVisible(char* to, std::string_view& text);

std::string toLower(std::string_view text);

// -1, 0 or 1. Runs of digits compare by length, then digit by digit: "a2" < "a10" < "a010".
int naturalCompare(std::string_view left, std::string_view right);

// RFC 4648, section 4, without line breaks.
std::string base64Encode(std::span<const std::uint8_t> bytes);
// Skips characters outside the alphabet and ends at the first "=". Never fails.
void base64Decode(std::string_view text, std::vector<std::uint8_t>& bytes);

// Cuts the text at each delimiter. Empty pieces are kept only with keepEmpty. splitFields replaces fields.
void splitFields(std::vector<std::string>& fields, std::string_view text, char delimiter, bool keepEmpty);
// The same without empty pieces and copies. Returns the number of pieces, and stores as many as fields holds.
std::size_t splitFields(std::span<std::string_view> fields, std::string_view text, char delimiter);
std::list<std::string> splitToList(std::string_view text, char delimiter, bool keepEmpty);

}  // namespace morvex
