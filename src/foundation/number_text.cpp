#include "foundation/number_text.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

namespace morvex {
namespace {

__extension__ using Wide = unsigned __int128;

// ---- Digits ----

constexpr std::uint32_t kTenToThe8 = 100'000'000;
constexpr std::uint64_t kAsciiZeros = 0x3030303030303030;

// The eight decimal digits of a number below 10^8, the first in the lowest byte. Each step halves the groups
// of digits, in all groups at once: n * 10486 >> 20 is n / 100 below 10^4, n * 103 >> 10 is n / 10 below 100.
std::uint64_t eightDigits(std::uint32_t number) {
  const std::uint64_t fours = number / 10000 | std::uint64_t{number % 10000} << 32;
  const std::uint64_t hundreds = (fours * 10486 >> 20) & 0x7f'0000'007f;
  const std::uint64_t pairs = hundreds | (fours - 100 * hundreds) << 16;
  const std::uint64_t tens = (pairs * 103 >> 10) & 0xf'000f'000f'000f;
  return tens | (pairs - 10 * tens) << 8;
}

// The first byte in memory becomes the lowest of the word, and back.
std::uint64_t inOrder(std::uint64_t word) {
  return std::endian::native == std::endian::big ? __builtin_bswap64(word) : word;
}

void putWord(char* to, std::uint64_t word) {
  word = inOrder(word);
  std::memcpy(to, &word, sizeof word);
}

std::uint64_t wordAt(const char* from) {
  std::uint64_t word = 0;
  std::memcpy(&word, from, sizeof word);
  return inOrder(word);
}

// Below 10^8, without leading zeros.
char* putShort(char* to, std::uint32_t value) {
  const std::uint64_t digits = eightDigits(value);
  const int zeros = std::countr_zero(digits | std::uint64_t{1} << 56) / 8;  // the last digit stays
  putWord(to, (digits | kAsciiZeros) >> 8 * zeros);
  return to + 8 - zeros;
}

// ---- Powers of ten ----

// 10^k is (significand + d) * 2^exponent, where d is 0 for k >= 0, and 0 < d < 1 below.
struct Power {
  std::uint64_t significand;  // from 2^63 on
  int exponent;
};

constexpr int kLowestPower = -14, kHighestPower = 26;

constexpr Power powerOfTen(int k) {
  std::uint64_t fives = 1;  // 5^27 still fits
  for (int i = 0; i < (k < 0 ? -k : k); ++i) {
    fives *= 5;
  }
  const int width = static_cast<int>(std::bit_width(fives));
  if (k >= 0) {
    return {fives << (64 - width), k + width - 64};
  }
  return {static_cast<std::uint64_t>((Wide{1} << (63 + width)) / fives), k - width - 63};
}

constexpr auto kPowers = [] {
  std::array<Power, kHighestPower - kLowestPower + 1> powers{};
  for (int k = kLowestPower; k <= kHighestPower; ++k) {
    powers[static_cast<std::size_t>(k - kLowestPower)] = powerOfTen(k);
  }
  return powers;
}();

// The doubles next to 10^-19 to 10^22; from 10^0 on they are the powers themselves.
constexpr int kLowestReal = -19;
constexpr double kReals[] = {1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,
                             1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,
                             1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,
                             1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21,  1e22};
constexpr int kHighestReal = 22;

constexpr double realPower(int k) { return kReals[k - kLowestReal]; }

constexpr int kFractionBits = 52;
constexpr int kBias = 1023;

// ---- Reals to text ----

// digits * 10^exponent, with a point behind the first digit.
struct Decimal {
  std::uint32_t digits;
  int exponent;
};

// Rounds to kDigits digits, halves to even, as printf does. False if it cannot decide.
//
// The value is f * 2^q with f in [2^63, 2^64); it lies in [2^-64, 2^64). Scaled by 10^k, it is to have all
// wanted digits ahead of its point. That is (f * P + f * d) * 2^(q + s), with P, d and s as in Power. The
// product f * P is exact in 128 bits. Only its upper half counts, high, in units of 2^64: the rest is less
// than one unit, and so is f * d. Therefore the scaled value is at least high, and less than high + 2; with d
// = 0 it is the product. In high, the fraction takes shift bits:
//   below half - 1   less than half even with both faults: down
//   half - 1         with d > 0, on either side: the caller falls back
//   half             with d > 0, more than half: up. Else a tie if nothing was cut off
//   above            up
// realPower(e) may be a double just below 10^e. A value equal to it gets one decimal place too few, and still
// rounds up to 10^e.
template <int kDigits>
bool roundTo(double value, Decimal& decimal) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const int log2 = static_cast<int>(bits >> kFractionBits) - kBias;
  if (log2 < -64 || log2 >= 64) {  // 0 and what is not finite too
    return false;
  }
  int exponent = log2 * 78913 >> 18;  // floor(log2 * log10(2)), for all of these
  exponent += value >= realPower(exponent + 1) ? 1 : 0;
  const int k = kDigits - 1 - exponent;
  const Power& power = kPowers[static_cast<std::size_t>(k - kLowestPower)];
  const Wide product = Wide{(bits << 11) | std::uint64_t{1} << 63} * power.significand;
  const auto high = static_cast<std::uint64_t>(product >> 64);
  const int shift = -(log2 + 1 + power.exponent);
  const std::uint64_t half = std::uint64_t{1} << (shift - 1);
  const std::uint64_t fraction = high & (2 * half - 1);
  auto digits = static_cast<std::uint32_t>(high >> shift);
  if (fraction - (half - 1) <= 1) {
    if (k >= 0) {
      const bool overHalf = static_cast<std::uint64_t>(product) != 0;
      digits += fraction == half && (overHalf || digits % 2 == 1) ? 1 : 0;
    } else if (fraction == half) {
      ++digits;
    } else {
      return false;
    }
  } else {
    digits += fraction > half ? 1 : 0;
  }
  const auto limit = static_cast<std::uint32_t>(realPower(kDigits));
  decimal = digits == limit ? Decimal{limit / 10, exponent + 1} : Decimal{digits, exponent};
  return true;
}

// Two digits hold every exponent of roundTo.
char* putExponent(char* to, int exponent) {
  const int magnitude = exponent < 0 ? -exponent : exponent;
  to[0] = 'e';
  to[1] = exponent < 0 ? '-' : '+';
  to[2] = static_cast<char>('0' + magnitude / 10);
  to[3] = static_cast<char>('0' + magnitude % 10);
  return to + 4;
}

// A positive number, without trailing zeros.
char* putGeneral(char* to, const Decimal& decimal) {
  const std::uint64_t digits = eightDigits(decimal.digits * 100);
  const std::uint64_t text = digits | kAsciiZeros;
  const int count = 8 - std::countl_zero(digits) / 8;
  const int exponent = decimal.exponent;
  if (exponent >= 0 && exponent < 6) {
    const int whole = exponent + 1;
    putWord(to, text);
    if (count <= whole) {
      return to + whole;
    }
    to[whole] = '.';
    putWord(to + whole + 1, text >> 8 * whole);
    return to + count + 1;
  }
  if (exponent < 0 && exponent >= -4) {
    putWord(to, kAsciiZeros);
    to[1] = '.';
    putWord(to + 1 - exponent, text);
    return to + 1 - exponent + count;
  }
  to[0] = static_cast<char>(text);
  to[1] = '.';
  putWord(to + 2, text >> 8);
  return putExponent(count > 1 ? to + count + 1 : to + 1, exponent);
}

}  // namespace

char* putUint(char* to, std::uint32_t value) {
  if (value < 10) {  // like most counts
    *to = static_cast<char>('0' + value);
    return to + 1;
  }
  if (value < kTenToThe8) {
    return putShort(to, value);
  }
  to = putShort(to, value / kTenToThe8);
  putWord(to, eightDigits(value % kTenToThe8) | kAsciiZeros);
  return to + 8;
}

char* putInt(char* to, std::int32_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  *to = '-';
  return value < 0 ? putUint(to + 1, 0 - bits) : putUint(to, bits);
}

char* putGrouped(char* to, std::uint64_t value) {
  std::array<char, 20> digits{};
  const char* const end = std::to_chars(digits.begin(), digits.end(), value).ptr;
  for (const char* digit = digits.data(); digit != end; ++digit) {
    if (digit != digits.data() && (end - digit) % 3 == 0) {
      *to++ = ',';
    }
    *to++ = *digit;
  }
  return to;
}

char* putReal(char* to, double value) {
  *to = '-';
  char* const unsignedText = to + (std::signbit(value) ? 1 : 0);
  Decimal decimal;
  if (roundTo<6>(std::abs(value), decimal)) {
    return putGeneral(unsignedText, decimal);
  }
  if (value == 0) {
    *unsignedText = '0';
    return unsignedText + 1;
  }
  return std::to_chars(to, to + kNumberRoom, value, std::chars_format::general, 6).ptr;
}

char* putScientific(char* to, double value) {
  *to = '-';
  char* const unsignedText = to + (std::signbit(value) ? 1 : 0);
  Decimal decimal;
  if (!roundTo<7>(std::abs(value), decimal)) {
    return std::to_chars(to, to + kNumberRoom, value, std::chars_format::scientific, 6).ptr;
  }
  const std::uint64_t text = eightDigits(decimal.digits * 10) | kAsciiZeros;
  unsignedText[0] = static_cast<char>(text);
  unsignedText[1] = '.';
  putWord(unsignedText + 2, text >> 8);
  return putExponent(unsignedText + 8, decimal.exponent);
}

// ---- Text to reals ----

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Appends digits to number, which wraps beyond 19 of them.
const char* takeDigits(const char* at, const char* end, std::uint64_t& number) {
  for (; at != end && isDigit(*at); ++at) {
    number = number * 10 + static_cast<std::uint64_t>(*at - '0');
  }
  return at;
}

// Takes an exponent, if there is one: "e", perhaps a sign, and one or two digits.
const char* takeExponent(const char* at, const char* end, int& exponent) {
  if (end - at < 2 || (*at != 'e' && *at != 'E')) {
    return at;
  }
  const char* const sign = at + 1;
  const char* const first = *sign == '-' || *sign == '+' ? sign + 1 : sign;
  std::uint64_t magnitude = 0;
  const char* const stop = takeDigits(first, end, magnitude);
  if (stop == first || stop > first + 2) {
    return at;
  }
  exponent += static_cast<int>(*sign == '-' ? -magnitude : magnitude);
  return stop;
}

// The inverse of eightDigits.
std::uint32_t numberOf(std::uint64_t digits) {
  constexpr std::uint64_t kPairs = 0xff'0000'00ff;
  const std::uint64_t pairs = digits * 10 + (digits >> 8);
  const std::uint64_t even = (pairs & kPairs) * (1'000'000ULL << 32 | 100);
  const std::uint64_t odd = (pairs >> 16 & kPairs) * (10'000ULL << 32 | 1);
  return static_cast<std::uint32_t>((even + odd) >> 32);
}

// number * 10^exponent. Whole numbers up to 2^53 and powers of ten up to 10^22 are doubles, so their product
// or quotient is rounded only once.
double scaled(std::uint64_t number, int exponent) {
  const auto whole = static_cast<double>(number);
  return exponent < 0 ? whole / realPower(-exponent) : whole * realPower(exponent);
}

// Reads the form of putScientific, in which reals travel: "3.540920e+01". False for any other.
bool readScientific(const char* begin, const char* end, double& value) {
  const bool negative = begin != end && *begin == '-';
  const char* const text = begin + (negative ? 1 : 0);
  if (end - text != 12) {
    return false;
  }
  const std::uint64_t digits =
      wordAt(text) - 0x3030'3030'3030'2e30;  // less "0.000000", which leaves digits and a 0
  const std::uint64_t others = (digits | (digits + 0x7676'7676'7676'7676)) & 0x8080'8080'8080'8080;
  const int tens = text[10] - '0', ones = text[11] - '0';
  const bool down = text[9] == '-';
  if (others != 0 || (digits & 0xff00) != 0 || text[8] != 'e' || (text[9] != '+' && !down) || tens < 0 ||
      tens > 9 || ones < 0 || ones > 9) {
    return false;
  }
  const int power = tens * 10 + ones;
  const int exponent = (down ? -power : power) - 6;
  if (exponent < -kHighestReal || exponent > kHighestReal) {
    return false;
  }
  const double magnitude =
      scaled(numberOf((digits & ~std::uint64_t{0xffff}) | (digits & 0xff) << 8), exponent);
  value = negative ? -magnitude : magnitude;
  return true;
}

bool readAnyDecimal(const char* begin, const char* end, double& value) {
  double read = 0;
  const auto [stop, fault] = std::from_chars(begin, end, read);
  if (fault != std::errc() || stop != end || !std::isfinite(read)) {
    return false;
  }
  value = read;
  return true;
}

}  // namespace

const char* takeDecimal(const char* begin, const char* end, double& value) {
  const bool negative = begin != end && *begin == '-';
  const char* const first = begin + (negative ? 1 : 0);
  std::uint64_t number = 0;
  int exponent = 0;
  const char* at = takeDigits(first, end, number);
  std::ptrdiff_t count = at - first;
  if (at != end && *at == '.') {
    const char* const decimals = at + 1;
    at = takeDigits(decimals, end, number);
    count += at - decimals;
    exponent = static_cast<int>(decimals - at);
  }
  at = takeExponent(at, end, exponent);
  if (count == 0 || count > 19 || number > std::uint64_t{1} << 53 || exponent < -kHighestReal ||
      exponent > kHighestReal) {
    return nullptr;
  }
  const double magnitude = scaled(number, exponent);
  value = negative ? -magnitude : magnitude;
  return at;
}

bool readDecimal(const char* begin, const char* end, double& value) {
  if (readScientific(begin, end, value)) {
    return true;
  }
  double read = 0;
  if (takeDecimal(begin, end, read) != end) {
    return readAnyDecimal(begin, end, value);
  }
  value = read;
  return true;
}

const char* takeUint(const char* begin, const char* end, std::uint32_t& value) {
  std::uint64_t number = 0;
  const char* const stop = takeDigits(begin, end, number);
  if (stop == begin || stop - begin > 19 || number > std::numeric_limits<std::uint32_t>::max()) {
    return nullptr;
  }
  value = static_cast<std::uint32_t>(number);
  return stop;
}

}  // namespace morvex
