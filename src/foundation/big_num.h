#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace morvex {

// An unsigned integer of any size: session keys, property values, and decimal constants beyond 64 bits.
// Copies share one counted buffer until one of them changes. Every buffer is wiped before it is freed, as
// keys live in it. For one thread.
class BigNum {
 public:
  BigNum();
  BigNum(std::uint32_t value);  // NOLINT(google-explicit-constructor): a small number is a number
  BigNum(const BigNum& other);
  BigNum& operator=(const BigNum& other);
  ~BigNum();

  friend bool operator==(const BigNum& left, const BigNum& right);
  friend std::strong_ordering operator<=>(const BigNum& left, const BigNum& right);

  static BigNum add(const BigNum& a, const BigNum& b);
  static BigNum multiply(const BigNum& a, const BigNum& b);

  // Shifts in place. Fewer than one bit changes nothing.
  void shiftLeft(int bits);

  // Reads big-endian bytes. The number must be 0.
  void bn_set_data(const std::uint8_t* bytes, std::size_t count);

  // Writes the big-endian magnitude without leading zeros to the start of buffer, fills the rest with zeros,
  // and sets length to the number of bytes. On entry length is the buffer's size: at least dataCapacity(),
  // less is a defect of the caller.
  void bn_get_data(std::uint8_t* buffer, std::size_t& length) const;
  std::size_t dataCapacity() const { return 4 * size_; }

  // Throws error::ERange beyond 64 significant bits.
  std::uint64_t toUint64() const;

  // Takes the value of hexadecimal digits in either case, without prefix or sign. Throws error::EParseError.
  void fromHex(std::string_view text);
  // Lower case, without leading zeros; "0" for zero.
  std::string toHex() const;

  std::size_t size() const { return size_; }

 private:
  void release();
  void resize(std::size_t words);
  void trim();
  static std::uint32_t* allocate(std::size_t words);

  std::uint32_t* limbs_;  // least significant word first; the word before it counts the sharers
  std::size_t size_;      // significant words: the top one is never 0
  std::size_t capacity_;  // words in the buffer, zero from size_ on
};

}  // namespace morvex
