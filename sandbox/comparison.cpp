#include "sandbox/comparison.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/text.h"
#include "query/tql/comparison.h"
#include "query/tql/property_codec.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

using protocol::Property;
using protocol::RelOperator;

[[noreturn]] void refuse(const Property& property, std::string_view why) {
  throw Refusal(ErrorCode::incomparable, "Property \"" + property.name + "\" " + std::string(why));
}

bool isNumber(std::uint32_t type) {
  static constexpr std::uint32_t kNumbers[] = {
      tql::kUnsignedInteger, tql::kSignedInteger, tql::kReal,  tql::kDate, tql::kIndex, tql::kGid,
      tql::kUnsigned64,      tql::kSigned64,      tql::kBigNum};
  return std::ranges::find(kNumbers, type) != std::end(kNumbers);
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

template <class Prop>
const auto& valueOf(const Property& property, std::string_view kind) {
  const auto* held = property.data.as<Prop>();
  if (held == nullptr) {
    refuse(property, "does not hold a " + std::string(kind));
  }
  return held->value;
}

const std::string& textOf(const Property& property) {
  return valueOf<protocol::StringProp>(property, "text");
}

const protocol::ListOfString1024& listOf(const Property& property) {
  return valueOf<protocol::StringListProp>(property, "list");
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

// Three-way; for types without an order, 0 for equal values and 1 for others.
int compareValues(const Property& value, const Property& constant) {
  const std::uint32_t type = tql::baseOf(value);
  if (isNumber(type)) {
    return compareNumbers(value, constant);
  }
  if (type == tql::kString || type == tql::kSnmpOid) {
    return tql::compareTexts(textOf(value), textOf(constant));
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
  const std::uint32_t type = tql::baseOf(value);
  if (type != tql::baseOf(constant) && !(isNumber(type) && isNumber(tql::baseOf(constant)))) {
    refuse(value, "is of another type than the constant");
  }
  const bool isEquality = op == RelOperator::equal || op == RelOperator::notEqual;
  if ((type == tql::kBoolean || type == tql::kId) && !isEquality) {
    refuse(value, "is not ordered");
  }
  const int order = tql::isNull(value) || tql::isNull(constant) ? tql::isNull(constant) - tql::isNull(value)
                                                                : compareValues(value, constant);
  return tql::holds(op, order);
}

// On a mismatch behind a star, the star takes one more byte. Only the last star has to.
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

// A predicate: whether the constant has an element.
auto isIn(const Property& constant, const Elements* elements) {
  (void)listOf(constant);  // refuses another one
  return [elements](const std::string& element) { return elements->has(element); };
}

}  // namespace

bool Elements::collect(Turn& turn) {
  while (collected_ < list_.size()) {
    places_.emplace(list_[collected_++], 0);
    turn.spend(1);
    if (turn.isSpent()) {
      return false;
    }
  }
  return true;
}

bool Elements::areIn(const protocol::ListOfString1024& list) {
  ++search_;
  std::size_t found = 0;
  for (const std::string& element : list) {
    if (const auto place = places_.find(element); place != places_.end() && place->second != search_) {
      place->second = search_;
      ++found;
    }
  }
  return found == places_.size();
}

bool holds(const Property& value, RelOperator op, const Property& constant, Elements* elements) {
  if (op >= RelOperator::equal && op <= RelOperator::notEqual) {
    return holdsOrdered(value, op, constant);
  }
  if (tql::isNull(value) || tql::isNull(constant)) {
    return op == RelOperator::matchesNot;
  }
  switch (op) {
    case RelOperator::matches:
      return matchesPattern(toLower(textOf(value)), toLower(textOf(constant)));
    case RelOperator::matchesNot:
      return !matchesPattern(toLower(textOf(value)), toLower(textOf(constant)));
    case RelOperator::in: {
      const std::string& text = textOf(value);
      return isIn(constant, elements)(text);
    }
    case RelOperator::intersects:
      return std::ranges::any_of(listOf(value), isIn(constant, elements));
    case RelOperator::subsetOf:
      return std::ranges::all_of(listOf(value), isIn(constant, elements));
    case RelOperator::supersetOf:
      (void)listOf(constant);
      return elements->areIn(listOf(value));
    case RelOperator::isSubstring:
      return toLower(textOf(value)).find(toLower(textOf(constant))) != std::string::npos;
    default:
      throw Refusal(ErrorCode::incomparable, "Unknown relative operator");
  }
}

}  // namespace morvex::sandbox
