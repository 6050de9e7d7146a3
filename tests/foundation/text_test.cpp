#include "foundation/text.h"

#include <gmock/gmock.h>

#include <cmath>

#include "foundation/errors.h"
#include "support/text_of.h"

using namespace morvex;

using error::EParseError;
using testing::ElementsAre;
using namespace std::string_literals;

TEST(Text, NumbersAreWrittenAsByPrintf) {
  EXPECT_EQ(uintToString(4294967295) + intToString(-5, true) + uintToString(7, true), "4294967295-507");
  EXPECT_EQ(hexToString(0xbeef, 6) + hexToString(0xffffffff, 2), "00beefffffffff");
  EXPECT_EQ(realToString(-0.25, 8, 1) + realToString(std::nan(""), 9, 9), "    -0.2nan");
  EXPECT_EQ(realToString(-HUGE_VAL, -1, -1), "-inf");
  std::string text = "x";
  appendReal(text, -0.25);
  EXPECT_EQ(text, "x-0.25");
}

TEST(Text, RealsAreReadAsByStrtod) {
  for (const std::string& text : splitToList(
           "|-0| "
           "\t\n\v\f\r1.5|+1.5|1E-3|.5|5.|0x1.8p3|infinity|-inf|-nan|1e999|-1e-999|4.9e-324|9007199254740993"
           "|1e+05|9007199254740993e22|1e23|1e-23|1.7976931348623157e308|00000000000000000001|"
           "12345678901234567890e-5",
           '|', true)) {
    const double expected = std::strtod(text.c_str(), nullptr), value = stringToReal(text);
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(value) : value == expected) << text;
    EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
  }
  std::list<std::string> refused = splitToList(
      "-|.|-.|e5|1e|1e+|1 |1,5|--1|1.2.3| "
      "|0x|1e5.|:.540920e+01|3:540920e+01|3/540920e+01|3.54/920e+01|3.54092:e+01"
      "|3.540920f+01|3.540920e*01|3.540920e+:1|3.540920e+0/",
      '|', true);
  refused.insert(refused.end(), {"1\0"s, "a\tb"s});
  for (const std::string& text : refused) {
    EXPECT_EQ(textOf<EParseError>([&] { stringToReal(text); }), "Error parsing: \"" + text + "\"");
  }
}

TEST(Text, IntegersAreReadAsWhereALongHas32Bits) {
  const std::tuple<const char*, std::int64_t, std::uint32_t> rows[] = {
      {"", 0, 0},
      {" \t+012", 12, 12},
      {"-1", -1, 4294967295},
      {"2147483648", 2147483647, 2147483648},
      {"-2147483649", -2147483648, 2147483647},
      {"-4294967295", -2147483648, 1},
      {"-4294967296", -2147483648, 4294967295},
      {"-18446744073709551615", -2147483648, 4294967295},
      {"18446744073709551617", 2147483647, 4294967295}};
  for (const auto& [text, asInt, asUint] : rows) {
    EXPECT_EQ(stringToInt(text), asInt) << text;
    EXPECT_EQ(stringToUint(text), asUint) << text;
  }
  for (const auto& text : {"12x"s, "1\t"s, "1\0"s, "-"s, " "s, "99999999999-"s}) {
    EXPECT_EQ(textOf<EParseError>([&] { stringToInt(text); }), "Error parsing: " + quotedString(text));
    EXPECT_EQ(textOf<EParseError>([&] { stringToUint(text); }), "Error parsing: " + quotedString(text));
  }
}

TEST(Text, HexadecimalRefusesWhatIsOutOfRange) {
  EXPECT_EQ(hexStringToUint(" 0xFFFFffff") + hexStringToUint(""), hexStringToUint("-1"));
  for (const auto& row : {std::pair{"fffffffff z"s, R"(Value "fffffffff z" out of range)"},
                          {"1-2"s, R"(Unexpected character: "-" in hex string "1-2")"},
                          {"0x"s, R"(Unexpected character: "x" in hex string "0x")"},
                          {"1\0"s, R"(Unexpected character: "\000" in hex string "1\000")"}}) {
    EXPECT_EQ(textOf<EParseError>([&] { hexStringToUint(row.first); }), row.second);
  }
  EXPECT_EQ(gidToString(stringToGid("1::200:3:4:")), "03:00:03:04");  // a part above ff carries
  EXPECT_EQ(textOf<EParseError>([] { stringToGid("1:2:3"); }), R"(Malformed GID: "1:2:3")");
  EXPECT_EQ(textOf<EParseError>([] { stringToGid("1:2:3:zz"); }),
            R"(Malformed GID component: Unexpected character: "z" in hex string "zz")");
}

TEST(Text, QuotingCaseAndNaturalOrder) {
  EXPECT_EQ(quotedString("\a\b\t\n\v\f\r\"'\\"), R"("\a\b\t\n\v\f\r\"\'\\")");
  EXPECT_EQ(quotedString("\0\1\x1f\x7f\xe9 a"s), "\"\\000\\001\\037\x7f\xe9 a\"");
  EXPECT_EQ(toLower("aZ@[\xc4"), "az@[\xc4");
  const char* ascending[] = {"", "\xe9", "a", "a2", "a9b", "a10", "a11", "a010", "aa", "ab", "ab1", "ab1c"};
  for (int i = 0; i < 144; ++i) {
    const int left = i / 12, right = i % 12;
    EXPECT_EQ(naturalCompare(ascending[left], ascending[right]), left < right ? -1 : left > right) << i;
  }
}

TEST(Text, ATerminalIsShownNoControlCharactersAndNoBrokenUtf8) {
  for (const auto& [text, shown] :
       {std::pair("a\tb\n\x7e \xc3\xa9\xc2\xa0\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf\xee\x80\x80"s,
                  ""s),
        {"\0\x1b[31m\r\b\x7f"s, R"(\000\033[31m\r\b\177)"},
        {"\xc2\x9b\xc2\x80\xc2\x9f", R"(\302\233\302\200\302\237)"},
        {"\x80\xc0\xafx\xc3\xc3\xa9", "\\200\\300\\257x\\303\xc3\xa9"},
        {"\xe0\x9f\x80\xed\xa0\x80\xf0\x8f\xbf\xbf", R"(\340\237\200\355\240\200\360\217\277\277)"},
        {"\xf4\x90\x80\x80\xf5\xe2\x82", R"(\364\220\200\200\365\342\202)"}}) {
    std::string put;
    for (std::string_view left = text; !left.empty();) {
      char room[8];
      put.append(room, putVisible(room, left));
    }
    EXPECT_EQ(put, shown.empty() ? text : shown);
  }
}

TEST(Text, Base64AndSplitting) {
  std::vector<std::uint8_t> bytes{0xff, 0xef, 0xbe, 'M', 'a'};
  EXPECT_EQ(base64Encode(bytes), "/+++TWE=");
  EXPECT_EQ(base64Encode(std::span(bytes).first(4)), "/+++TQ==");
  base64Decode("TW\nF\xff-u/T", bytes);
  EXPECT_THAT(bytes, ElementsAre('M', 'a', 'n', 0xfd));
  base64Decode("TQ=TWFu", bytes);
  EXPECT_THAT(bytes, ElementsAre('M'));
  std::vector<std::string> fields{"old", "content", "of", "four"};
  splitFields(fields, ",a,,b,", ',', true);
  EXPECT_THAT(fields, ElementsAre("", "a", "", "b", ""));
  splitFields(fields, ",a,,b,", ',', false);
  EXPECT_THAT(fields, ElementsAre("a", "b"));
  EXPECT_EQ(splitToList("", ';', true).size() + splitToList("", ';', false).size(), 1u);
}
