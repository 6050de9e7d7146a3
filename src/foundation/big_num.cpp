#include "foundation/big_num.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "foundation/assertion.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "foundation/wipe.h"

namespace morvex {
namespace {

constexpr std::size_t kWordBits = 32;
constexpr std::size_t kDigitsPerWord = kWordBits / 4;
constexpr std::uint32_t kMostSharers = 1000;

std::uint32_t& sharers(std::uint32_t* limbs) { return limbs[-1]; }

std::uint32_t lowWord(std::uint64_t value) { return static_cast<std::uint32_t>(value); }

std::uint32_t hexDigit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return static_cast<std::uint32_t>(digit - '0');
  }
  if (digit >= 'a' && digit <= 'f') {
    return static_cast<std::uint32_t>(digit - 'a' + 10);
  }
  if (digit >= 'A' && digit <= 'F') {
    return static_cast<std::uint32_t>(digit - 'A' + 10);
  }
  throw error::EParseError("Could not parse hexstring");
}

}  // namespace

std::uint32_t* BigNum::allocate(std::size_t words) {
  auto* buffer = new std::uint32_t[words + 1]();
  buffer[0] = 1;
  return buffer + 1;
}

void BigNum::release() {
  if (--sharers(limbs_) == 0) {
    wipe(limbs_, capacity_ * sizeof *limbs_);
    delete[](limbs_ - 1);
  }
}

// Gets an unshared buffer of at least that many words. size_ counts them all until trim().
void BigNum::resize(std::size_t words) {
  assertThat(words >= size_, "Bad reallocation in BigNum");
  if (sharers(limbs_) > 1 || words > capacity_) {
    std::uint32_t* limbs = allocate(words);
    std::copy_n(limbs_, size_, limbs);
    release();
    limbs_ = limbs;
    capacity_ = words;
  }
  size_ = words;
}

void BigNum::trim() {
  while (size_ > 0 && limbs_[size_ - 1] == 0) {
    --size_;
  }
}

BigNum::BigNum() : BigNum(0) {}

BigNum::BigNum(std::uint32_t value) : limbs_(allocate(1)), size_(value == 0 ? 0 : 1), capacity_(1) {
  limbs_[0] = value;
}

BigNum::BigNum(const BigNum& other) : limbs_(other.limbs_), size_(other.size_), capacity_(other.capacity_) {
  // No program of this size has so many copies: the memory was overwritten.
  if (sharers(limbs_) < 1 || sharers(limbs_) > kMostSharers) {
    std::abort();
  }
  ++sharers(limbs_);
}

BigNum& BigNum::operator=(const BigNum& other) {
  if (limbs_ != other.limbs_) {
    release();
    limbs_ = other.limbs_;
    capacity_ = other.capacity_;
    ++sharers(limbs_);
  }
  size_ = other.size_;
  return *this;
}

BigNum::~BigNum() { release(); }

bool operator==(const BigNum& left, const BigNum& right) {
  return std::equal(left.limbs_, left.limbs_ + left.size_, right.limbs_, right.limbs_ + right.size_);
}

std::strong_ordering operator<=>(const BigNum& left, const BigNum& right) {
  if (left.size_ != right.size_) {
    return left.size_ <=> right.size_;
  }
  for (std::size_t i = left.size_; i-- > 0;) {
    if (left.limbs_[i] != right.limbs_[i]) {
      return left.limbs_[i] <=> right.limbs_[i];
    }
  }
  return std::strong_ordering::equal;
}

BigNum BigNum::add(const BigNum& a, const BigNum& b) {
  const BigNum& longer = a.size_ >= b.size_ ? a : b;
  const BigNum& shorter = a.size_ >= b.size_ ? b : a;
  BigNum sum;
  sum.resize(longer.size_ + 1);
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < longer.size_; ++i) {
    carry += longer.limbs_[i];
    carry += i < shorter.size_ ? shorter.limbs_[i] : 0;
    sum.limbs_[i] = lowWord(carry);
    carry >>= kWordBits;
  }
  sum.limbs_[longer.size_] = lowWord(carry);
  sum.trim();
  return sum;
}

BigNum BigNum::multiply(const BigNum& a, const BigNum& b) {
  BigNum product;
  product.resize(a.size_ + b.size_);
  for (std::size_t i = 0; i < a.size_; ++i) {
    std::uint64_t carry = 0;
    for (std::size_t k = 0; k < b.size_; ++k) {
      carry += std::uint64_t{a.limbs_[i]} * b.limbs_[k] + product.limbs_[i + k];
      product.limbs_[i + k] = lowWord(carry);
      carry >>= kWordBits;
    }
    assertThat(product.limbs_[i + b.size_] == 0, "Multiplication error in BigNum");
    product.limbs_[i + b.size_] = lowWord(carry);
  }
  product.trim();
  return product;
}

void BigNum::shiftLeft(int bits) {
  if (bits < 1 || size_ == 0) {
    return;
  }
  const std::size_t words = static_cast<std::size_t>(bits) / kWordBits;
  const std::size_t rest = static_cast<std::size_t>(bits) % kWordBits;
  const std::size_t before = size_;
  const bool grows = static_cast<std::size_t>(std::countl_zero(limbs_[size_ - 1])) < rest;
  resize(size_ + words + (grows ? 1 : 0));
  std::copy_backward(limbs_, limbs_ + before, limbs_ + before + words);
  std::fill_n(limbs_, words, 0);
  std::uint64_t carry = 0;
  for (std::size_t i = words; i < size_; ++i) {
    carry |= std::uint64_t{limbs_[i]} << rest;
    limbs_[i] = lowWord(carry);
    carry >>= kWordBits;
  }
  assertThat(carry == 0, "Shift error in BigNum");
}

void BigNum::bn_set_data(const std::uint8_t* bytes, std::size_t count) {
  resize((count + 3) / 4);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t& word = limbs_[(count - i - 1) / 4];
    word = word << 8 | bytes[i];
  }
  trim();
}

void BigNum::bn_get_data(std::uint8_t* buffer, std::size_t& length) const {
  if (length < dataCapacity()) {
    assertionFailed("Buffer given to bn_get_data is too small (wanted " + uint64ToString(dataCapacity()) +
                    ")");
  }
  const std::size_t unused =
      size_ == 0 ? 0 : static_cast<std::size_t>(std::countl_zero(limbs_[size_ - 1])) / 8;
  const std::size_t count = dataCapacity() - unused;
  for (std::size_t i = 0; i < count; ++i) {
    buffer[count - i - 1] = static_cast<std::uint8_t>(limbs_[i / 4] >> i % 4 * 8);
  }
  std::fill(buffer + count, buffer + length, std::uint8_t{0});
  length = count;
}

std::uint64_t BigNum::toUint64() const {
  if (size_ == 0) {
    return 0;
  }
  if (size_ > 2) {
    const std::size_t bits =
        kWordBits * (size_ - 1) + static_cast<std::size_t>(std::bit_width(limbs_[size_ - 1]));
    throw error::ERange("Cannot fit " + uint64ToString(bits) + " bits in uint64_t");
  }
  return (size_ == 2 ? std::uint64_t{limbs_[1]} << kWordBits : 0) | limbs_[0];
}

void BigNum::fromHex(std::string_view text) {
  BigNum value;
  value.resize((text.size() + kDigitsPerWord - 1) / kDigitsPerWord);
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t& word = value.limbs_[(text.size() - i - 1) / kDigitsPerWord];
    word = word << 4 | hexDigit(text[i]);
  }
  value.trim();
  *this = value;
}

std::string BigNum::toHex() const {
  std::string text = hexToString(size_ == 0 ? 0 : limbs_[size_ - 1], 1);
  for (std::size_t i = size_; i-- > 1;) {
    text += hexToString(limbs_[i - 1], kDigitsPerWord);
  }
  return text;
}

}  // namespace morvex
