// The conversions of numbers and identifiers, against the C library where that is the definition.

#include "foundation/text.h"

#include <bit>
#include <cmath>
#include <cstdlib>

#include "foundation/big_num.h"
#include "require.h"

using namespace morvex;

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
  if (std::isfinite(value)) {
    require(realToString(value, width, precision) == printed("%*.*f", std::max(width, 0), precision, value),
            "%f of " + text);
    const double back = stringToReal(printed("%.17g", value));
    require(std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(value),
            "17 digits of " + text);
  }
}

void checkStringToReal(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  require(outcomeOf([&] { return printed("%a", stringToReal(text)); }) ==
              (end == text.c_str() + text.size() ? printed("%a", value)
                                                 : "refused: Error parsing: \"" + text + "\""),
          "strtod of " + text);
}

// strtol with 64 bits tells what it gives with 32: what is beyond these is beyond those.
void checkIntegers(const std::string& text) {
  char* end = nullptr;
  std::int64_t value = std::strtol(text.c_str(), &end, 10);
  const bool whole = end == text.c_str() + text.size();
  const std::string refusal = "refused: Error parsing: " + quotedString(text);
  const auto low = [&] { return std::abs(value) >> 32 == 0 ? static_cast<std::uint32_t>(value) : ~0u; };
  require(outcomeOf([&] { return printed("%d", stringToInt(text)); }) ==
              (whole ? printed("%ld", std::clamp(value, -2147483648l, 2147483647l)) : refusal),
          "strtol of " + text);
  value = std::max(value, -std::numeric_limits<std::int64_t>::max());
  require(outcomeOf([&] { return printed("%u", stringToUint(text)); }) ==
              (whole ? printed("%u", low()) : refusal),
          "strtoul of " + text);
  value = std::max(std::strtol(text.c_str(), &end, 16), -std::numeric_limits<std::int64_t>::max());
  const std::string rest = text.substr(static_cast<std::size_t>(end - text.c_str()));
  const std::string outcome = outcomeOf([&] { return printed("%u", hexStringToUint(text)); });
  require(std::abs(value) >> 32 != 0 ? outcome == "refused: Value \"" + text + "\" out of range"
          : rest.empty()             ? outcome == printed("%u", low())
                         : outcome == "refused: Unexpected character: " + quotedString(rest.substr(0, 1)) +
                                          " in hex string " + quotedString(text),
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
  std::erase_if(
      plain, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0 && c != '+' && c != '/'; });
  base64Decode(text, decoded);
  require(decoded.size() == plain.size() * 6 / 8, "the alphabet's characters count");
  const std::size_t certain = decoded.size() * 8 / 6;  // the character behind these may have spare bits
  require(base64Encode(decoded).substr(0, certain) == plain.substr(0, certain), "base64 keeps its digits");
}

BigNum ofHex(const std::string& text) {
  BigNum number;
  number.fromHex(text);
  return number;
}

void checkBigNum(const Bytes& bytes, const std::string& text, std::uint64_t a, std::uint64_t b) {
  std::string hex;
  std::ranges::for_each(bytes, [&](std::uint8_t byte) { hex += hexToString(byte, 2); });
  BigNum number, shifted = 1;
  number.bn_set_data(bytes.data(), bytes.size());
  require(ofHex(hex) == number, "hexadecimal means the bytes");
  Bytes back(number.dataCapacity());
  std::size_t length = back.size();
  number.bn_get_data(back.data(), length);
  require(std::ranges::equal(std::span(back).first(length),
                             std::span(bytes).subspan(hex.find_first_not_of('0') == std::string::npos
                                                          ? bytes.size()
                                                          : hex.find_first_not_of('0') / 2)),
          "bytes come back less leading zeros");
  shifted.shiftLeft(static_cast<int>(a % 100));
  const BigNum product = BigNum::multiply(number, shifted);
  shifted = number;
  shifted.shiftLeft(static_cast<int>(a % 100));
  require(shifted == product && ofHex(hex) == number, "shifting multiplies, and leaves other copies alone");
  __extension__ using Wide = unsigned __int128;
  const Wide wide = Wide{a} * b;
  const auto high = static_cast<std::uint64_t>(wide >> 64), low = static_cast<std::uint64_t>(wide);
  const BigNum first = ofHex(printed("%lx", a)), second = ofHex(printed("%lX", b));
  require(BigNum::multiply(first, second) == ofHex(printed("%lx%016lx", high, low)), "128 bits of a product");
  require(first.toUint64() == a && (first <=> second) == (a <=> b), "64 bits are 64 bits");
  outcomeOf<error::EParseError>([&] { return ofHex(text), ""; });
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
  return 0;
}
