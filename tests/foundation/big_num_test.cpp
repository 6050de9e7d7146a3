#include "foundation/big_num.h"

#include <gtest/gtest.h>

#include <vector>

#include "foundation/errors.h"
#include "support/text_of.h"

using namespace morvex;

namespace {

BigNum hex(std::string_view text) {
  BigNum number;
  number.fromHex(text);
  return number;
}

}  // namespace

TEST(BigNum, TextAndArithmetic) {
  EXPECT_EQ(hex("").size() + hex("0000000000").size() + BigNum(0).size(), 0u);
  EXPECT_EQ(hex("00fEDCba9876543210").toUint64(), 0xfedcba9876543210u);
  for (const char* text : {"0", "a", "ffffffff", "100000000", "fedcba98000000000000000f"}) {
    EXPECT_EQ(hex(text).toHex(), text);
  }
  for (const char* text : {"0x", "-1", "12 ", "g", "@", "`"}) {
    EXPECT_EQ(textOf<error::EParseError>([&] { hex(text); }), "Could not parse hexstring") << text;
  }
  EXPECT_EQ(textOf<error::ERange>([] { hex("10000000000000000").toUint64(); }),
            "Cannot fit 65 bits in uint64_t");
  const BigNum ones = hex("ffffffffffffffff"),
               ascending[] = {0, 1, 0xffffffff, hex("1ffffffff"), hex("200000000")};
  EXPECT_EQ(BigNum::add(ones, 1), hex("10000000000000000"));
  EXPECT_EQ(BigNum::add(7, hex("ffffffff00000000ffffffff")), hex("ffffffff0000000100000006"));
  EXPECT_EQ(BigNum::multiply(ones, ones), hex("fffffffffffffffe0000000000000001"));
  for (const auto& [bits, digits] : {std::pair(-1, "80000000ffffffff"),
                                     {31, "400000007fffffff80000000"},
                                     {64, "80000000ffffffff0000000000000000"}}) {
    BigNum shifted = hex("80000000ffffffff");
    shifted.shiftLeft(bits);
    EXPECT_EQ(shifted, hex(digits)) << bits;
  }
  for (std::size_t i = 0; i < 25; ++i) {
    EXPECT_EQ(ascending[i / 5] <=> ascending[i % 5], i / 5 <=> i % 5) << i;
  }
}

TEST(BigNum, BytesAreBigEndianWithoutLeadingZeros) {
  BigNum number;
  number.bn_set_data(std::vector<std::uint8_t>{0, 128, 0, 0, 0, 1}.data(), 6);
  std::vector<std::uint8_t> buffer(9, 0xee);
  std::size_t length = buffer.size(), tooShort = 7;
  number.bn_get_data(buffer.data(), length);
  EXPECT_EQ(length, 5u);
  EXPECT_EQ(buffer, std::vector<std::uint8_t>({128, 0, 0, 0, 1, 0, 0, 0, 0}));
  BigNum(0).bn_get_data(buffer.data(), length);
  EXPECT_EQ(length, 0u);
  EXPECT_DEATH(number.bn_get_data(buffer.data(), tooShort),
               "^Assertion failed: Buffer given to bn_get_data is too small \\(wanted 8\\)\n$");
}

TEST(BigNum, CopiesAreIndependent) {
  BigNum key = hex("123456789abcdef0123456789abcdef0"), assigned;
  const BigNum copy = key;
  assigned = key;
  key.shiftLeft(1);   // detaches from the copies
  key.shiftLeft(64);  // outgrows its buffer
  EXPECT_EQ(key, hex("2468acf13579bde02468acf13579bde00000000000000000"));
  EXPECT_TRUE(copy == assigned && copy == hex("123456789abcdef0123456789abcdef0"));
}
