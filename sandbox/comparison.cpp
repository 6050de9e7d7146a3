#include "sandbox/comparison.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "query/tql/property_codec.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {
namespace {

using protocol::Property;
using protocol::RelOperator;

std::uint32_t typeOf(const Property& property) { return property.typeWord & tql::kBaseMask; }
bool isNull(const Property& property) { return property.data.as<protocol::NullProp>() != nullptr; }

[[noreturn]] void refuse(const Property& property, std::string_view why) {
  throw Refusal(ErrorCode::incomparable, "Property \"" + property.name + "\" " + std::string(why));
}

bool isNumber(std::uint32_t type) {
  switch (type) {
    case tql::kUnsignedInteger:
    case tql::kSignedInteger:
    case tql::kReal:
    case tql::kDate:
    case tql::kIndex:
    case tql::kGid:
    case tql::kUnsigned64:
    case tql::kSigned64:
    case tql::kBigNum:
      return true;
    default:
      return false;
  }
}

long double approximate(const BigNum& number) {
  std::vector<std::uint8_t> digits(number.dataCapacity());
  std::size_t count = digits.size();
  number.bn_get_data(digits.data(), count);
  long double value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    value = value * 256 + digits[i];
  }
  return value;
}

template <class Prop>
std::optional<long double> numberIn(const Property& property) {
  const Prop* const held = property.data.as<Prop>();
  return held == nullptr ? std::nullopt : std::optional<long double>(static_cast<long double>(held->value));
}

long double numberOf(const Property& property) {
  if (const auto* big = property.data.as<protocol::BigNumProp>()) {
    return approximate(big->value);
  }
  for (const auto read :
       {numberIn<protocol::UnsignedIntProp>, numberIn<protocol::SignedIntProp>, numberIn<protocol::RealProp>,
        numberIn<protocol::UnsignedInt64Prop>, numberIn<protocol::SignedInt64Prop>}) {
    if (const auto value = read(property)) {
      return *value;
    }
  }
  refuse(property, "does not hold a number");
}

const std::string& textOf(const Property& property) {
  const auto* text = property.data.as<protocol::StringProp>();
  if (text == nullptr) {
    refuse(property, "does not hold a text");
  }
  return text->value;
}

const protocol::ListOfString1024& listOf(const Property& property) {
  const auto* list = property.data.as<protocol::StringListProp>();
  if (list == nullptr) {
    refuse(property, "does not hold a list");
  }
  return list->value;
}

int compareNumbers(const Property& left, const Property& right) {
  const auto* leftBig = left.data.as<protocol::BigNumProp>();
  const auto* rightBig = right.data.as<protocol::BigNumProp>();
  if (leftBig != nullptr && rightBig != nullptr) {
    return leftBig->value < rightBig->value ? -1 : rightBig->value < leftBig->value ? 1 : 0;
  }
  const long double a = numberOf(left);
  const long double b = numberOf(right);
  return a < b ? -1 : b < a ? 1 : 0;
}

int compareTexts(const std::string& left, const std::string& right) {
  if (left == right) {
    return 0;
  }
  const int blind = naturalCompare(toLower(left), toLower(right));
  return blind != 0 ? blind : naturalCompare(left, right);
}

// Three-way; for types without an order, 0 for equal values and 1 for others.
int compareValues(const Property& value, const Property& constant) {
  const std::uint32_t type = typeOf(value);
  if (isNumber(type)) {
    return compareNumbers(value, constant);
  }
  if (type == tql::kString || type == tql::kSnmpOid) {
    return compareTexts(textOf(value), textOf(constant));
  }
  if (type == tql::kId) {
    return textOf(value) == textOf(constant) ? 0 : 1;
  }
  if (type == tql::kBoolean || (type & tql::kEnumeration) != 0) {
    return *value.data == *constant.data ? 0 : 1;
  }
  refuse(value, "is not comparable");
}

bool holdsOrdered(const Property& value, RelOperator op, const Property& constant) {
  const std::uint32_t type = typeOf(value);
  if (type != typeOf(constant) && !(isNumber(type) && isNumber(typeOf(constant)))) {
    refuse(value, "is of another type than the constant");
  }
  const bool isEquality = op == RelOperator::equal || op == RelOperator::notEqual;
  if ((type == tql::kBoolean || type == tql::kId) && !isEquality) {
    refuse(value, "is not ordered");
  }
  const int order =
      isNull(value) || isNull(constant) ? isNull(constant) - isNull(value) : compareValues(value, constant);
  switch (op) {
    case RelOperator::equal:
      return order == 0;
    case RelOperator::greater:
      return order > 0;
    case RelOperator::less:
      return order < 0;
    case RelOperator::greaterOrEqual:
      return order >= 0;
    case RelOperator::lessOrEqual:
      return order <= 0;
    default:
      return order != 0;
  }
}

// On a mismatch behind a star, the star takes one more byte. Only the last star ever needs that.
bool matchesPattern(std::string_view text, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t in = 0;
  std::size_t star = std::string_view::npos;
  std::size_t starTook = 0;
  while (at < text.size()) {
    if (in < pattern.size() && pattern[in] == '*') {
      star = in++;
      starTook = at;
    } else if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == text[at])) {
      ++in;
      ++at;
    } else if (star != std::string_view::npos) {
      in = star + 1;
      at = ++starTook;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', in) == std::string_view::npos;
}

template <class List>
bool includes(const List& list, const std::string& element) {
  return std::find(list.begin(), list.end(), element) != list.end();
}

template <class List>
bool includesAll(const List& list, const List& elements) {
  return std::all_of(elements.begin(), elements.end(), [&](const auto& one) { return includes(list, one); });
}

}  // namespace

bool holds(const Property& value, RelOperator op, const Property& constant) {
  if (op >= RelOperator::equal && op <= RelOperator::notEqual) {
    return holdsOrdered(value, op, constant);
  }
  if (isNull(value) || isNull(constant)) {
    return op == RelOperator::matchesNot;
  }
  switch (op) {
    case RelOperator::matches:
      return matchesPattern(toLower(textOf(value)), toLower(textOf(constant)));
    case RelOperator::matchesNot:
      return !matchesPattern(toLower(textOf(value)), toLower(textOf(constant)));
    case RelOperator::in:
      return includes(listOf(constant), textOf(value));
    case RelOperator::intersects: {
      const auto& set = listOf(constant);
      const auto& list = listOf(value);
      return std::any_of(list.begin(), list.end(), [&](const auto& one) { return includes(set, one); });
    }
    case RelOperator::subsetOf:
      return includesAll(listOf(constant), listOf(value));
    case RelOperator::supersetOf:
      return includesAll(listOf(value), listOf(constant));
    case RelOperator::isSubstring:
      return toLower(textOf(value)).find(toLower(textOf(constant))) != std::string::npos;
    default:
      throw Refusal(ErrorCode::incomparable, "Unknown relative operator");
  }
}

}  // namespace morvex::sandbox
