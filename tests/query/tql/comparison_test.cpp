#include "query/tql/comparison.h"

#include <gtest/gtest.h>

#include <cmath>

#include "foundation/errors.h"
#include "query/tql/property_codec.h"
#include "support/text_of.h"

using namespace morvex;

namespace {

using protocol::RelOperator;
using tql::Property;
using Strings = std::list<std::string>;

template <class Value>
Property prop(std::uint32_t typeWord, const Value& value) {
  Property property;
  tql::encode(property, "p", typeWord, value);
  return property;
}
Property prop(std::uint32_t typeWord, const char* value) { return prop(typeWord, std::string(value)); }

// A value whose class does not fit its type.
template <class Prop>
Property odd(std::uint32_t typeWord) {
  Property property;
  tql::encodeNull(property, "p", typeWord);
  property.data.emplace<Prop>();
  return property;
}

// One letter for each of = > < >= <= !=: y, n, or "!" for a fault. The text of the fault follows.
std::string outcome(const Property& left, const Property& right) {
  std::string answers, fault;
  for (int op = 0; op < 6; ++op) {
    try {
      answers += tql::compare(left, static_cast<RelOperator>(op), right) ? 'y' : 'n';
    } catch (const errors::tql_incomparable& refusal) {
      answers += '!';
      fault = " " + refusal.text();
    }
  }
  return answers + fault;
}

TEST(Compare, GoesByTheRulesOfTheType) {
  using namespace tql;
  const auto null = odd<protocol::NullProp>;
  const auto real = odd<protocol::RealProp>;
  const std::string equal = "ynnyyn", less = "nnynyy", greater = "nynyny", faults = "!!!!!! Property \"p\" ";
  const struct {
    Property left, right;
    std::string outcome;
  } rows[] = {
      {prop(kString, "a10"), prop(kString, "a9"), greater},
      {prop(kString, "Item2"), prop(kString, "item10"), less},
      {prop(kString, "Item2"), prop(kString, "item2"), less},
      {prop(kSnmpOid, "1.10"), prop(kSnmpOid, "1.9"), greater},
      {prop(kGid, 1U), prop(kGid | kConst, 4000000000U), less},
      {prop(kDate, 1), prop(kDate, -1), greater},
      {prop(kReal, std::nan("")), prop(kReal, 2.0), equal},
      {prop(kBigNum, BigNum(9)), prop(kBigNum, BigNum(10)), less},
      {prop(0x10005, 1U), prop(0x10005, 2U), greater},
      {prop(kBoolean, true), prop(kBoolean, true), "y!!!!n Property \"p\" is not ordered"},
      {prop(kId, "a"), prop(kId, "A"), "n!!!!y Property \"p\" is not ordered"},
      {prop(kIdSet, Strings{"a", "b"}), prop(kIdSet, Strings{"a", "b"}), "nnnnnn"},
      {prop(kIdSet, Strings{"a"}), prop(kIdSet, Strings{"a", "b"}), "yyyyyy"},
      {null(kBoolean), prop(kBoolean, true), less},
      {null(kString), null(kString | kInherited), equal},
      {null(kString), prop(kId, "a"), "!!!!!! Type mismatch"},
      {prop(0x10005, 1U), real(0x10005), faults + "(65541) is not comparable"},
      {real(kDate), prop(kDate, 1), faults + "(5) is not ord_comparable"},
      {prop(kString, ""), real(kString), faults + "(6) is not string ord_comparable"},
      {real(kUnsigned64), real(kUnsigned64), faults + "(16) is not comparable"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(outcome(row.left, row.right), row.outcome) << row.left.typeWord;
  }
  EXPECT_EQ(textOf<errors::tql_incomparable>([&] { compare(null(6), RelOperator::matches, null(6)); }),
            "Unknown relative operator");
}

// The fault, and the numbers of the children in their new order. An empty name stands for no property, "5"
// for an integer.
std::string sorted(std::initializer_list<const char*> names, bool ascending) {
  tqlquery::Result parent;
  for (const std::string name : names) {
    tqlquery::Result& child = parent.children.emplace_back().emplace();
    child.id = std::to_string(parent.children.size() - 1);
    if (!name.empty()) {
      child.properties.push_back(name == "5" ? prop(tql::kSignedInteger, 5) : prop(tql::kString, name));
    }
  }
  std::string text = textOf<errors::tql_incomparable>([&] {
    tqlquery::sortChildren(parent, {"p", ascending});
  });
  for (const auto& child : parent.children) {
    text += ' ' + child->id;
  }
  return text;
}

TEST(SortChildren, IsStableAndLosesNone) {
  EXPECT_EQ(sorted({"b", "", "a10", "b", "a9", "", "B"}, true), "nothing thrown 1 5 4 2 6 0 3");
  EXPECT_EQ(sorted({"b", "", "a10", "b", "a9", "", "B"}, false), "nothing thrown 0 3 6 2 4 1 5");
  EXPECT_EQ(sorted({"c", "b", "5", "a"}, true), "Type mismatch 0 1 2 3");
}

TEST(CompareForSort, LaterKeysDecideWhatEarlierOnesLeaveOpen) {
  tqlquery::Result low, high;
  low.properties = {prop(tql::kSignedInteger, 1)};
  high.properties = {prop(tql::kSignedInteger, 2)};
  EXPECT_TRUE(tql::compareForSort({{"x", true}, {"p", true}}, low, high));
}

}  // namespace
