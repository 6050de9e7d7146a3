#include "foundation/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <system_error>

#include "foundation/errors.h"
#include "foundation/number_text.h"

namespace morvex {
namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

template <class Integer>
std::string integerToString(Integer value, bool pad) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.begin(), digits.end(), value).ptr;
  std::string text;
  if (pad && end - digits.begin() == 1) {
    text = '0';
  }
  return text.append(digits.begin(), end);
}

// Reads the usual form: digits, perhaps after a minus. For any other the C library decides.
template <class Integer>
bool readDigits(std::string_view text, Integer& value) {
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end;
}

[[noreturn]] void throwNotANumber(std::string_view text) {
  throw error::EParseError("Error parsing: " + quotedString(text));
}

// The outcome of strtoul where long has 32 bits.
struct Unsigned32 {
  std::uint32_t value;
  bool outOfRange;
  std::size_t length;  // of the part of the text that was read
};

Unsigned32 readUnsigned32(std::string_view text, int base) {
  std::size_t begin = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  const bool negative = text.substr(begin).starts_with('-');
  begin += negative || text.substr(begin).starts_with('+') ? 1 : 0;
  std::uint64_t magnitude = 0;
  const auto readFrom = [&](std::size_t i) {
    return std::from_chars(text.data() + i, text.data() + text.size(), magnitude, base);
  };
  auto result = readFrom(begin);
  if (base == 16 && (text.substr(begin, 2) == "0x" || text.substr(begin, 2) == "0X")) {
    if (const auto behindPrefix = readFrom(begin + 2); behindPrefix.ec != std::errc::invalid_argument) {
      result = behindPrefix;
    }
  }
  if (result.ec == std::errc::invalid_argument) {
    return {0, false, 0};
  }
  constexpr std::uint32_t kLargest = std::numeric_limits<std::uint32_t>::max();
  const auto length = static_cast<std::size_t>(result.ptr - text.data());
  if (result.ec != std::errc() || magnitude > kLargest) {
    return {kLargest, true, length};
  }
  const auto value = static_cast<std::uint32_t>(magnitude);
  return {negative ? 0 - value : value, false, length};
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

template <class Value>
int sign(Value left, Value right) {
  return left < right ? -1 : left > right ? 1 : 0;
}

std::size_t digitsFrom(std::string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size() && isDigit(text[end])) {
    ++end;
  }
  return end - begin;
}

// Compares the characters or the runs of digits at i, and moves i past them.
int compareStep(std::string_view left, std::string_view right, std::size_t& i) {
  if (!isDigit(left[i]) || !isDigit(right[i])) {
    const int order = sign(static_cast<signed char>(left[i]), static_cast<signed char>(right[i]));
    ++i;
    return order;
  }
  const std::size_t digits = digitsFrom(left, i);
  if (const int order = sign(digits, digitsFrom(right, i)); order != 0) {
    return order;
  }
  const int order = sign(left.substr(i, digits).compare(right.substr(i, digits)), 0);
  i += digits;
  return order;
}

// The value of each character of the alphabet, -1 for all others.
constexpr auto kBase64Values = [] {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < kBase64.size(); ++i) {
    values[static_cast<unsigned char>(kBase64[i])] = static_cast<std::int8_t>(i);
  }
  return values;
}();

// The letter after the backslash in the escape of a byte, or 0.
constexpr char escapeLetter(char c) {
  constexpr std::string_view kLetters = "abtnvfr";  // of the bytes from 7 on
  if (c >= 7 && c <= 13) {
    return kLetters[static_cast<std::size_t>(c - 7)];
  }
  return c == '"' || c == '\'' || c == '\\' ? c : '\0';
}

// The escape of a byte: the letter that it has, or three octal digits. Needs 4 bytes of room.
char* putEscape(char* to, char c) {
  *to++ = '\\';
  if (const char letter = escapeLetter(c); letter != '\0') {
    *to++ = letter;
    return to;
  }
  const auto byte = static_cast<unsigned char>(c);
  for (const int shift : {6, 3, 0}) {
    *to++ = static_cast<char>('0' + (byte >> shift & 7));
  }
  return to;
}

// The length of the first character in UTF-8 (RFC 3629, section 4), 0 if there is none.
std::size_t characterLength(std::string_view text) {
  const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0; };
  const int first = byte(0), second = byte(1);
  const std::size_t length = first < 0x80                    ? 1
                             : first >= 0xC2 && first < 0xE0 ? 2
                             : first >= 0xE0 && first < 0xF0 ? 3
                             : first >= 0xF0 && first < 0xF5 ? 4
                                                             : 0;
  const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool isSurrogate = first == 0xED && second >= 0xA0;
  const bool isBeyond = first == 0xF4 && second >= 0x90;
  bool isWhole = !isTooLong && !isSurrogate && !isBeyond;
  for (std::size_t i = 1; i < length; ++i) {
    isWhole = isWhole && (byte(i) & 0xC0) == 0x80;
  }
  return isWhole ? length : 0;
}

template <class Store>
void forEachPiece(std::string_view text, char delimiter, bool keepEmpty, Store store) {
  std::size_t begin = 0;
  while (true) {
    const std::size_t end = std::min(text.find(delimiter, begin), text.size());
    if (keepEmpty || end > begin) {
      store(text.substr(begin, end - begin));
    }
    if (end == text.size()) {
      return;
    }
    begin = end + 1;
  }
}

}  // namespace

std::string uintToString(std::uint32_t value, bool pad) { return integerToString(value, pad); }

std::string intToString(std::int32_t value, bool pad) { return integerToString(value, pad); }

std::string uint64ToString(std::uint64_t value) { return integerToString(value, false); }

std::string hexToString(std::uint32_t value, std::size_t minimumWidth) {
  std::array<char, 8> digits;
  const auto end = std::to_chars(digits.begin(), digits.end(), value, 16).ptr;
  const auto count = static_cast<std::size_t>(end - digits.begin());
  std::string text(minimumWidth > count ? minimumWidth - count : 0, '0');
  return text.append(digits.begin(), end);
}

std::string realToString(double value, int width, int precision) {
  if (std::isnan(value)) {
    return "nan";
  }
  if (std::isinf(value)) {
    return value > 0 ? "inf" : "-inf";
  }
  constexpr std::size_t kWithoutDecimals = std::numeric_limits<double>::max_exponent10 + 3;
  const int decimals = precision < 0 ? 6 : precision;
  std::string text(kWithoutDecimals + static_cast<std::size_t>(decimals), '\0');
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  text.resize(static_cast<std::size_t>(result.ptr - text.data()));
  if (width > 0 && text.size() < static_cast<std::size_t>(width)) {
    text.insert(0, static_cast<std::size_t>(width) - text.size(), ' ');
  }
  return text;
}

void appendReal(std::string& text, double value) {
  std::array<char, kNumberRoom> digits;
  text.append(digits.data(), putReal(digits.data(), value));
}

double stringToReal(std::string_view text) {
  double value = 0;
  if (readDecimal(text.data(), text.data() + text.size(), value)) {
    return value;
  }
  const std::string terminated(text);
  char* end = nullptr;
  value = std::strtod(terminated.c_str(), &end);  // reads "nan", "inf" and "-inf" too
  if (end != terminated.c_str() + terminated.size()) {
    throw error::EParseError("Error parsing: \"" + terminated + "\"");
  }
  return value;
}

std::int32_t stringToInt(std::string_view text) {
  std::int32_t value = 0;
  if (readDigits(text, value)) {
    return value;
  }
  const std::string terminated(text);
  char* end = nullptr;
  const long long wide = std::strtoll(terminated.c_str(), &end, 10);
  if (end != terminated.c_str() + terminated.size()) {
    throwNotANumber(text);
  }
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<long long>(wide, Limits::min(), Limits::max()));
}

std::uint32_t stringToUint(std::string_view text) {
  std::uint32_t value = 0;
  if (readDigits(text, value)) {
    return value;
  }
  const Unsigned32 number = readUnsigned32(text, 10);
  if (number.length != text.size()) {
    throwNotANumber(text);
  }
  return number.value;
}

std::uint32_t hexStringToUint(const std::string& text) {
  const Unsigned32 number = readUnsigned32(text, 16);
  if (number.outOfRange) {
    throw error::EParseError("Value \"" + text + "\" out of range");
  }
  if (number.length != text.size()) {
    throw error::EParseError("Unexpected character: " + quotedString(text.substr(number.length, 1)) +
                             " in hex string " + quotedString(text));
  }
  return number.value;
}

std::string gidToString(std::uint32_t gid) {
  std::string text = hexToString(gid >> 24, 2);
  for (const int shift : {16, 8, 0}) {
    text += ':' + hexToString(gid >> shift & 0xff, 2);
  }
  return text;
}

std::uint32_t stringToGid(const std::string& text) {
  std::vector<std::string> parts;
  splitFields(parts, text, ':', false);
  if (parts.size() != 4) {
    throw error::EParseError("Malformed GID: \"" + text + "\"");
  }
  std::uint32_t gid = 0;
  try {
    for (const std::string& part : parts) {
      gid = (gid << 8) + hexStringToUint(part);  // a part above 0xff carries into the one before it
    }
  } catch (const error::EParseError& fault) {
    throw error::EParseError("Malformed GID component: " + fault.text());
  }
  return gid;
}

std::string quotedString(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (escapeLetter(c) != '\0' || static_cast<unsigned char>(c) < 32) {
      std::array<char, 4> room;
      quoted.append(room.data(), putEscape(room.data(), c));
    } else {
      quoted += c;
    }
  }
  return quoted += '"';
}

char* putVisible(char* to, std::string_view& text) {
  const std::size_t length = characterLength(text);
  const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
  text.remove_prefix(character.size());
  const auto first = static_cast<unsigned char>(character[0]);
  const bool isControl = (length == 1 && (first < 32 || first == 127) && first != '\t' && first != '\n') ||
                         (length == 2 && first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
  if (length != 0 && !isControl) {
    return std::ranges::copy(character, to).out;
  }
  for (const char c : character) {
    to = putEscape(to, c);
  }
  return to;
}

std::string toLower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return lower;
}

int naturalCompare(std::string_view left, std::string_view right) {
  std::size_t i = 0;
  while (i < left.size() && i < right.size()) {
    if (const int order = compareStep(left, right, i); order != 0) {
      return order;
    }
  }
  return sign(left.size(), right.size());  // at least one of them is used up
}

std::string base64Encode(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < count ? bytes[i + k] : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? kBase64[group >> (18 - 6 * k) & 0x3f] : '=';
    }
  }
  return text;
}

void base64Decode(std::string_view text, std::vector<std::uint8_t>& bytes) {
  bytes.clear();
  std::uint32_t group = 0;
  int bits = 0;  // at the low end of group that are not stored yet
  for (const char c : text.substr(0, text.find('='))) {
    const std::int8_t value = kBase64Values[static_cast<unsigned char>(c)];
    if (value < 0) {
      continue;
    }
    group = group << 6 | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      bytes.push_back(static_cast<std::uint8_t>(group >> bits));
    }
  }
}

void splitFields(std::vector<std::string>& fields, std::string_view text, char delimiter, bool keepEmpty) {
  std::size_t count = 0;
  forEachPiece(text, delimiter, keepEmpty, [&](std::string_view piece) {
    if (count == fields.size()) {
      fields.emplace_back();
    }
    fields[count++] = piece;  // reuses the memory when lines are split one by one
  });
  fields.resize(count);
}

std::size_t splitFields(std::span<std::string_view> fields, std::string_view text, char delimiter) {
  std::size_t count = 0;
  forEachPiece(text, delimiter, false, [&](std::string_view piece) {
    if (count < fields.size()) {
      fields[count] = piece;
    }
    ++count;
  });
  return count;
}

std::list<std::string> splitToList(std::string_view text, char delimiter, bool keepEmpty) {
  std::list<std::string> pieces;
  forEachPiece(text, delimiter, keepEmpty, [&](std::string_view piece) { pieces.emplace_back(piece); });
  return pieces;
}

}  // namespace morvex
