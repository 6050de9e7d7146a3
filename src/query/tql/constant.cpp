#include "query/tql/constant.h"

#include <algorithm>
#include <iterator>

#include "foundation/big_num.h"
#include "foundation/errors.h"
#include "protocol/leaf.h"
#include "query/tql/lexer.h"
#include "query/tql/property_codec.h"

namespace morvex::tql {
namespace {

// The sets of named values. A word that begins like one belongs to it.
struct Enumeration {
  std::string_view prefix;
  std::uint32_t typeWord;
  const char* unknown;  // closes the refusal of a word that is not in the set
};

constexpr Enumeration kEnumerations[] = {
    {"ES_", kStatusEnumeration, " (ES_unknown)"},
    {"NOTIFY_", kNotifyEnumeration, " (NOTIFY_unknown"},
    {"RIF_", kReportEnumeration, " (RIF_unknown)"},
    {"NRT_", kNodeTypeEnumeration, " (NRT_unknown)"},
};

struct Enumerator {
  std::string_view word;
  std::uint32_t value;
};

constexpr Enumerator kEnumerators[] = {
    {"ES_NA", 0},           {"ES_GOOD", 1},           {"ES_DOWN_GOOD", 2},      {"ES_DEPEND_GOOD", 3},
    {"ES_DOWN_UNKNOWN", 4}, {"ES_DEPEND_UNKNOWN", 5}, {"ES_DOWN_WARN", 6},      {"ES_DEPEND_WARN", 7},
    {"ES_DOWN_ALERT", 8},   {"ES_DEPEND_ALERT", 9},   {"ES_UNINITIALIZED", 10}, {"ES_UNKNOWN", 11},
    {"ES_WARN", 12},        {"ES_ALERT", 13},         {"NOTIFY_None", 0},       {"NOTIFY_AsWarning", 1},
    {"NOTIFY_AsAlert", 2},  {"RIF_None", 0},          {"RIF_Intro", 1},         {"RIF_Summary", 2},
    {"RIF_Graph", 4},       {"RIF_Table", 8},         {"NRT_None", 0},          {"NRT_Node", 1},
    {"NRT_Domain", 2},      {"NRT_Check", 3},         {"NRT_Grouping", 4}};

// The digits of a long number that are read at a time; they fit a word.
constexpr std::size_t kPiece = 9;
// The time to read a number grows with the square of its length, so the length has a limit. Numbers that fit
// a message are far shorter.
constexpr std::size_t kMostBytes = 16384;

// string := '"' text '"' [ "I" | "S" ]
void encodeString(Property& property, const std::string& name, const std::string& token) {
  const char suffix = token.back();
  std::string text = token.substr(1, token.size() - (suffix == '"' ? 2 : 3));
  if (suffix == 'I' && text.empty()) {
    encodeNull(property, name, kId);
  } else if (suffix == 'I' || (suffix == '"' && name == "id")) {
    encode(property, name, kId, std::move(text));
  } else {
    encode(property, name, suffix == 'S' ? kSnmpOid : kString, std::move(text));
  }
}

// signed := ( "+" | "-" ) { digit }
void encodeSigned(Property& property, const std::string& name, const std::string& token) {
  const std::string_view digits = std::string_view(token).substr(1);
  if (!std::ranges::all_of(digits, isDigit)) {
    unexpected("Expected constant got: ", token, " after parsing '+/-'");
  }
  const std::uint32_t magnitude = wrapDigits(digits);
  encode(property, name, kSignedInteger,
         static_cast<std::int32_t>(token.front() == '-' ? 0 - magnitude : magnitude));
}

BigNum bigNumOf(const std::string& token, std::string_view digits, std::size_t mostBytes) {
  BigNum number;
  while (!digits.empty()) {
    const std::string_view piece = digits.substr(0, kPiece);
    std::uint32_t scale = 1;
    for (std::size_t i = 0; i < piece.size(); ++i) {
      scale *= 10;
    }
    number = BigNum::add(BigNum::multiply(number, scale), wrapDigits(piece));
    if (number.dataCapacity() > mostBytes) {
      unexpected("Expected constant got: ", token, " (number too large)");
    }
    digits.remove_prefix(piece.size());
  }
  return number;
}

// unsigned := digit { digit } [ "T" | "B" ]
void encodeUnsigned(Property& property, const std::string& name, const std::string& token) {
  const char suffix = token.back();
  const std::string_view digits =
      std::string_view(token).substr(0, token.size() - (suffix == 'T' || suffix == 'B' ? 1 : 0));
  if (!std::ranges::all_of(digits, isDigit)) {
    unexpected("Expected constant got: ", token, " parsing uint or tsdb idx.");
  }
  if (suffix == 'B') {
    encode(property, name, kBigNum, bigNumOf(token, digits, protocol::kLongestBigNum));
    return;
  }
  // The field has 32 bits: of a number up to 64, the low half is sent.
  const std::uint64_t value = bigNumOf(token, digits, kMostBytes).toUint64();
  encode(property, name, suffix == 'T' ? kIndex : kUnsignedInteger, static_cast<std::uint32_t>(value));
}

// word := "true" | "false" | "bool_null" | enumerator
void encodeWord(Property& property, const std::string& name, const std::string& token) {
  if (token == "true" || token == "false") {
    encode(property, name, kBoolean, token == "true");
    return;
  }
  if (token == "bool_null") {
    encodeNull(property, name, kBoolean);
    return;
  }
  const auto* set = std::ranges::find_if(
      kEnumerations, [&](const Enumeration& row) { return token.starts_with(row.prefix); });
  if (set == std::end(kEnumerations)) {
    unexpected("Expected constant but got: ", token);
  }
  const auto* found = std::ranges::find(kEnumerators, token, &Enumerator::word);
  if (found == std::end(kEnumerators)) {
    unexpected("Expected constant got: ", token, set->unknown);
  }
  encode(property, name, set->typeWord, found->value);
}

}  // namespace

void encodeConstant(Property& property, const std::string& name, const std::string& token) {
  const char first = token.front();
  if (first == '"') {
    encodeString(property, name, token);
  } else if (isSign(first)) {
    encodeSigned(property, name, token);
  } else if (isDigit(first)) {
    encodeUnsigned(property, name, token);
  } else {
    encodeWord(property, name, token);
  }
}

std::uint32_t wrapDigits(std::string_view digits) {
  std::uint32_t value = 0;
  for (const char digit : digits) {
    value = value * 10 + static_cast<std::uint32_t>(digit - '0');
  }
  return value;
}

}  // namespace morvex::tql
