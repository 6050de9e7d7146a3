#include "query/tql/comparison.h"

#include <algorithm>
#include <string>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "query/tql/property_codec.h"

namespace morvex::tql {
namespace {

using protocol::RelOperator;

// The names in a refusal for what values must be.
constexpr const char* kComparable = "comparable";
constexpr const char* kOrdComparable = "ord_comparable";
constexpr const char* kStringOrdComparable = "string ord_comparable";

[[noreturn]] void refuse(const Property& property, const char* wanted) {
  throw errors::tql_incomparable("Property \"" + property.name + "\" (" + uintToString(baseOf(property)) +
                                 ") is not " + wanted);
}

// The function of both values, which must be of the class Prop.
template <class Prop, class Function>
auto apply(const Property& left, const Property& right, const char* wanted, Function function) {
  const Prop* l = left.data.as<Prop>();
  const Prop* r = right.data.as<Prop>();
  if (l == nullptr || r == nullptr) {
    refuse(left, wanted);
  }
  return function(l->value, r->value);
}

// Negative, zero or positive. A NaN is neither less nor greater than anything, and so equal to it.
template <class Prop>
int byValue(const Property& left, const Property& right) {
  return apply<Prop>(left, right, kOrdComparable,
                     [](const auto& l, const auto& r) { return l < r ? -1 : (r < l ? 1 : 0); });
}

template <class Prop>
int byEquality(const Property& left, const Property& right) {
  return apply<Prop>(left, right, kComparable, [](const auto& l, const auto& r) { return l == r ? 0 : 1; });
}

int byString(const Property& left, const Property& right) {
  return apply<protocol::StringProp>(left, right, kStringOrdComparable, compareTexts);
}

int threeWay(const Property& left, const Property& right) {
  const std::uint32_t type = baseOf(left);
  if ((type & kEnumeration) != 0) {
    return byEquality<protocol::UnsignedIntProp>(left, right);
  }
  switch (type) {
    case kBoolean:
      return byEquality<protocol::BooleanProp>(left, right);
    case kId:
      return byEquality<protocol::StringProp>(left, right);
    case kUnsignedInteger:
    case kIndex:
    case kGid:
      return byValue<protocol::UnsignedIntProp>(left, right);
    case kSignedInteger:
    case kDate:
      return byValue<protocol::SignedIntProp>(left, right);
    case kReal:
      return byValue<protocol::RealProp>(left, right);
    case kString:
    case kSnmpOid:
      return byString(left, right);
    case kBigNum:
      return byValue<protocol::BigNumProp>(left, right);
    default:
      refuse(left, kComparable);
  }
}

bool listsDiffer(const Property& left, const Property& right) {
  return apply<protocol::StringListProp>(
      left, right, kComparable, [](const auto& l, const auto& r) { return !std::ranges::equal(l, r); });
}

}  // namespace

bool holds(RelOperator op, int order) {
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
    case RelOperator::notEqual:
      return order != 0;
    default:
      throw errors::tql_incomparable("Unknown relative operator");
  }
}

int compareTexts(const std::string& left, const std::string& right) {
  const int caseBlind = naturalCompare(toLower(left), toLower(right));
  return caseBlind != 0 ? caseBlind : naturalCompare(left, right);
}

bool compare(const Property& left, RelOperator op, const Property& right) {
  const std::uint32_t type = baseOf(left);
  if (type != baseOf(right)) {
    throw errors::tql_incomparable("Type mismatch");
  }
  if (isNull(left) || isNull(right)) {
    return holds(op, static_cast<int>(isNull(right)) - static_cast<int>(isNull(left)));
  }
  if (type == kIdSet) {  // sets are told apart and nothing more, whatever the operator
    return listsDiffer(left, right);
  }
  const int order = threeWay(left, right);
  const bool byEqualityAlone = type == kBoolean || type == kId;
  if (byEqualityAlone && op != RelOperator::equal && op != RelOperator::notEqual) {
    throw errors::tql_incomparable("Property \"" + left.name + "\" is not ordered");
  }
  return holds(op, order);
}

bool compareForSort(const std::list<tqlquery::SortKey>& keys, const tqlquery::Result& left,
                    const tqlquery::Result& right) {
  for (const auto& [name, ascending] : keys) {
    const Property* l = tqlquery::findProperty(left.properties, name);
    const Property* r = tqlquery::findProperty(right.properties, name);
    if ((l == nullptr) != (r == nullptr)) {
      return (l == nullptr) == ascending;
    }
    if (l == nullptr) {
      continue;
    }
    if (compare(*l, RelOperator::less, *r)) {
      return ascending;
    }
    if (compare(*r, RelOperator::less, *l)) {
      return !ascending;
    }
  }
  return false;
}

}  // namespace morvex::tql
