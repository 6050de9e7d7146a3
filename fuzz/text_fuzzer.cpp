// The conversions of numbers and identifiers, against the C library and against slow but plain ones.

#include <bit>
#include <cmath>
#include <cstdlib>

#include "foundation/big_num.h"
#include "foundation/text.h"
#include "require.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

template <class... Values>
std::string printed(const char* format, Values... values) {
  std::string text(static_cast<std::size_t>(std::snprintf(nullptr, 0, format, values...)), '\0');
  std::snprintf(text.data(), text.size() + 1, format, values...);
  return text;
}

void checkReal(double value, int width, int precision) {
  std::string text;
  appendReal(text, value);
  require(text == printed("%g", value), "%g of " + text);
  if (std::isfinite(value)) {  // a negative precision counts as none given; a negative width would mean left
    require(realToString(value, width, precision) == printed("%*.*f", std::max(width, 0), precision, value),
            "%f of " + text);
    require(std::bit_cast<std::uint64_t>(stringToReal(printed("%.17g", value))) ==
                std::bit_cast<std::uint64_t>(value),
            "17 digits of " + text + " come back");
  }
}

void checkStringToReal(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  const bool whole = end == text.c_str() + text.size();
  require(outcomeOf([&] { return printed("%a", stringToReal(text)); }) ==
              (whole ? printed("%a", value) : "refused: Error parsing: \"" + text + "\""),
          "strtod of " + text);
}

// What strtol and strtoul say, digit by digit.
struct Digits {
  bool negative = false, fits32 = true;
  std::uint64_t magnitude = 0;
  std::size_t length = 0;  // 0 without a digit
};

Digits readDigits(const std::string& text, unsigned base) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::size_t i = 0;
  while (i < text.size() && std::string_view(" \t\n\v\f\r").find(text[i]) != std::string_view::npos) {
    ++i;
  }
  Digits digits;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    digits.negative = text[i++] == '-';
  }
  const auto valueAt = [&](std::size_t place) {
    return place < text.size() ? kDigits.find(toLower(text.substr(place, 1))) : std::string_view::npos;
  };
  if (base == 16 && toLower(text.substr(i, 2)) == "0x" && valueAt(i + 2) < base) {
    i += 2;
  }
  for (; valueAt(i) < base; digits.length = ++i) {
    digits.magnitude = std::min<std::uint64_t>(digits.magnitude * base + valueAt(i), 1ull << 40);
  }
  digits.fits32 = digits.magnitude <= 0xffffffff;
  return digits;
}

void checkIntegers(const std::string& text) {
  const Digits digits = readDigits(text, 10);
  const auto magnitude = static_cast<std::int64_t>(digits.magnitude);
  const std::string refusal = "refused: Error parsing: " + quotedString(text);
  const bool whole = digits.length == text.size();
  const std::int64_t value = digits.negative ? -magnitude : magnitude;
  require(outcomeOf([&] { return printed("%d", stringToInt(text)); }) ==
              (whole ? printed("%ld", std::clamp(value, -2147483648l, 2147483647l)) : refusal),
          "strtol of " + text);
  require(outcomeOf([&] { return printed("%u", stringToUint(text)); }) ==
              (whole ? printed("%u", digits.fits32 ? static_cast<std::uint32_t>(value) : ~0u) : refusal),
          "strtoul of " + text);
  const Digits hex = readDigits(text, 16);
  const auto hexValue = static_cast<std::uint32_t>(hex.negative ? 0 - hex.magnitude : hex.magnitude);
  require(outcomeOf([&] { return hexToString(hexStringToUint(text), 1); }) ==
              (!hex.fits32 ? "refused: Value \"" + text + "\" out of range"
               : hex.length != text.size()
                   ? "refused: Unexpected character: " + quotedString(text.substr(hex.length, 1)) +
                         " in hex string " + quotedString(text)
                   : printed("%x", hexValue)),
          "strtoul of hexadecimal " + text);
}

void checkGid(std::uint32_t gid, const std::string& text) {
  require(gidToString(gid) ==
              printed("%02x:%02x:%02x:%02x", gid >> 24, gid >> 16 & 255, gid >> 8 & 255, gid & 255),
          "a GID is four bytes");
  require(stringToGid(gidToString(gid)) == gid, "a GID comes back");
  outcomeOf<error::EParseError>([&] { return gidToString(stringToGid(text)); });
}

void checkBase64(const Bytes& bytes, const std::string& text) {
  Bytes decoded;
  base64Decode(base64Encode(bytes), decoded);
  require(decoded == bytes, "base64 comes back");
  std::string plain = text.substr(0, text.find('='));
  std::erase_if(plain, [](char c) {
    return (c < '0' || c > '9') && (c < 'A' || c > 'Z') && (c < 'a' || c > 'z') && c != '+' && c != '/';
  });
  base64Decode(text, decoded);
  require(decoded.size() == plain.size() * 6 / 8, "the alphabet's characters count");
  const std::size_t certain = decoded.size() * 8 / 6;  // the character behind these may have spare bits
  require(base64Encode(decoded).substr(0, certain) == plain.substr(0, certain), "base64 keeps its digits");
}

Bytes bytesOf(const BigNum& number) {
  Bytes bytes(number.dataCapacity());
  std::size_t length = bytes.size();
  number.bn_get_data(bytes.data(), length);
  bytes.resize(length);
  return bytes;
}

BigNum bigNumOf(std::uint64_t value) {
  return BigNum::add(
      BigNum::multiply(BigNum::multiply(65536u, 65536u), static_cast<std::uint32_t>(value >> 32)),
      static_cast<std::uint32_t>(value));
}

void checkBigNum(Bytes bytes, const std::string& text, std::uint64_t a, std::uint64_t b) {
  BigNum number;
  number.bn_set_data(bytes.data(), bytes.size());
  bytes.erase(bytes.begin(), std::ranges::find_if(bytes, [](std::uint8_t byte) { return byte != 0; }));
  require(bytesOf(number) == bytes, "bytes come back less leading zeros");
  std::string hex;
  std::ranges::for_each(bytes, [&](std::uint8_t byte) { hex += hexToString(byte, 2); });
  BigNum again;
  again.fromHex(hex);
  require(again == number, "hexadecimal means the bytes");
  BigNum shifted = number;
  shifted.shiftLeft(static_cast<int>(a % 100));
  BigNum power = 1;
  for (std::uint64_t i = 0; i < a % 100; ++i) {
    power = BigNum::add(power, power);
  }
  require(shifted == BigNum::multiply(number, power) && again == number, "shifting multiplies, in one copy");
  __extension__ using Wide = unsigned __int128;
  const Wide product = Wide{a} * b;
  BigNum expected = bigNumOf(static_cast<std::uint64_t>(product >> 64));
  expected.shiftLeft(64);
  expected = BigNum::add(expected, bigNumOf(static_cast<std::uint64_t>(product)));
  require(BigNum::multiply(bigNumOf(a), bigNumOf(b)) == expected, "128 bits of a product");
  require(bigNumOf(a).toUint64() == a && (bigNumOf(a) <=> bigNumOf(b)) == (a <=> b), "64 bits are 64 bits");
  const bool isHex = text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
  require(isHex != outcomeOf<error::EParseError>([&] {
                     BigNum read;
                     read.fromHex(text);
                     return "";
                   }).starts_with("refused: Could not parse hexstring"),
          "hexadecimal digits alone are read");
}

void checkPieces(const std::string& text, const std::string& other) {
  std::string joined;
  for (const std::string& piece : splitToList(text, ',', true)) {
    joined += piece + ",";
  }
  require(joined == text + ",", "pieces make up the text");
  std::vector<std::string> fields;
  splitFields(fields, text, ',', false);
  std::vector<std::string_view> views(text.size() + 1);
  views.resize(splitFields(std::span(views), text, ','));
  require(std::ranges::equal(fields, views), "both ways of splitting agree");
  require(naturalCompare(text, other) == -naturalCompare(other, text), "the order has two sides");
  require(naturalCompare(text, text) == 0, "a text is as great as itself");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto a = input.ConsumeIntegral<std::uint64_t>();
  const auto b = input.ConsumeIntegral<std::uint64_t>();
  const std::string text = input.ConsumeRandomLengthString();
  const Bytes rest = input.ConsumeRemainingBytes<std::uint8_t>();
  checkReal(std::bit_cast<double>(a), static_cast<int>(b % 50) - 1, static_cast<int>(b / 50 % 30) - 1);
  checkReal(static_cast<double>(static_cast<std::int32_t>(a)) / static_cast<double>(b % 3 * 499 + 1), -1, -1);
  checkStringToReal(text);
  checkIntegers(text);
  checkGid(static_cast<std::uint32_t>(a), text);
  checkBase64(rest, text);
  checkBigNum(rest, text, a, b);
  checkPieces(text, std::string(rest.begin(), rest.end()));
  return 0;
}
