#include <gtest/gtest.h>

#include "commands/property_text.h"
#include "commands/property_value.h"
#include "commands/support.h"
#include "foundation/errors.h"
#include "query/tql/property_codec.h"
#include "support/wire.h"

namespace {

using protocol::Property;

Property null(std::uint32_t typeWord) {
  Property property;
  tql::encodeNull(property, "p", typeWord);
  return property;
}

template <class Prop, class Value>
Property holding(std::uint32_t typeWord, const Value& value) {
  Property property = null(typeWord);
  property.data.emplace<Prop>().value = value;
  return property;
}

// Given for a null, a text becomes a value that prints so; given for that value, it changes nothing.
struct TypeRow {
  std::uint32_t typeWord;
  const char* type;
  const char* given;
  const char* printed;
};
constexpr TypeRow kTypes[] = {
    {0x20001, "Const Boolean", "fALSE", "false"},
    {1, "Boolean", "-7", "true"},
    {2, "Unsigned Integer", "-1", "4294967295"},
    {3, "Signed Integer", "-99999999999", "-2147483648"},
    {0x420004, "Const Floating Point Number", "1e-3", "0.001000"},
    {0x80005, "Date, Computed", "-1", "-1"},
    {6, "String", "a \"b\"\n", "\"a \\\"b\\\"\\n\""},
    {7, "Id", "1F\"", "1F\""},
    {8, "Id Set", ",1F,,2\\", ",1F,2\\\\"},
    {10, "Index", "", "0"},
    {0x10000B, "String List, Read Only", "a,b\t", "\"a\", \"b\\t\""},
    {12, "BLOB", "AP+/\n=ignored", "AP+/"},
    {0x40000D, "GID, Primary Key", "a:B::0c:d", "0a:0b:0c:0d"},
    {14, "GID List", "1:2:3:4,,0:0:0:ff", "01:02:03:04,00:00:00:ff"},
    {15, "SNMP OID", "1.3.6", "1.3.6"},
    {0x800D0001, "Enumeration, NULL allowed", "4294967295", "-1"},
};

TEST(PropertyValue, ReadsATextByTheTypeOfTheCurrentCopy) {
  for (const auto& [typeWord, type, given, printed] : kTypes) {
    Property changed, again;
    EXPECT_TRUE(parsePropertyValue(null(typeWord), changed, given)) << type << given;
    EXPECT_EQ(changed.typeWord, typeWord);
    EXPECT_EQ(propertyTypeText(changed), type);
    EXPECT_EQ(propertyText(changed), printed) << type << given;
    EXPECT_FALSE(parsePropertyValue(changed, again, given)) << type << given;
  }
}

TEST(PropertyText, TellsWhatNoTextCanGive) {
  EXPECT_EQ(propertyTypeText(null(9)), "Action");
  EXPECT_EQ(propertyTypeText(null(0x80040010)), "(Unknown type: -2147221488), NULL allowed");
  EXPECT_EQ(propertyText(null(0x80000010)), "(NULL)");
  EXPECT_EQ(propertyText(holding<protocol::BooleanProp>(9, true)), "action");
  const protocol::ListOfString1024 ids{"a,b", "", "c\\"};
  EXPECT_EQ(propertyText(holding<protocol::StringListProp>(8, ids)), ",a\\,b,,c\\\\");
  EXPECT_EQ(propertyText(holding<protocol::LobProp>(0x80000013, "x")), "(Unknown type)-2147483629");
}

TEST(PropertyValue, NullAndInheritedSuitEveryType) {
  const auto current = holding<protocol::UnsignedInt64Prop>(0x40010, 1U);
  for (const std::string text : {"null", "NULL", "inherited", "INHERITED"}) {
    Property changed;
    EXPECT_TRUE(parsePropertyValue(current, changed, text)) << text;
    EXPECT_FALSE(parsePropertyValue(null(0x40010), changed, text)) << text;
    EXPECT_EQ(changed.typeWord, text.size() == 4 ? 0x40010U : 0x80040010U);
  }
  Property changed;  // any other spelling is a text like others
  EXPECT_TRUE(parsePropertyValue(null(6), changed, "Null"));
}

TEST(PropertyValue, ActionsAndUnknownTypesStandApart) {
  Property changed;
  EXPECT_FALSE(parsePropertyValue(null(0x120009), changed, "action"));
  EXPECT_EQ(writtenHex(changed), plainHex("30 80 04 01 'p' 02 01 09 A6 80 00 00 00 00"));
  EXPECT_EQ(textOf<error::EFatal>([&] { parsePropertyValue(null(9), changed, "Action"); }),
            "Property \"p\" is an action and takes only \"action\", got: \"Action\"");
  testing::internal::CaptureStdout();
  EXPECT_FALSE(parsePropertyValue(holding<protocol::LobProp>(0xC0013, "x"), changed, "y"));
  standardOutput().flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error unknown type19\n");
}

TEST(PropertyValue, RefusesWhatDoesNotConvert) {
  for (const std::uint32_t typeWord : {1U, 2U, 3U, 4U, 5U, 10U, 0x10005U}) {
    Property changed;
    EXPECT_EQ(textOf<error::EParseError>([&] { parsePropertyValue(null(typeWord), changed, "Yes"); }),
              "Error parsing: \"Yes\"");
  }
}

TEST(WriteProperties, PrintsTheObjectsOwnFirstAndThenByName) {
  tqlquery::Result object;
  object.id = "1F";
  object.className = "Node";
  object.version = "7";
  object.properties["b"] = null(0x40006);
  object.properties["Id"] = holding<protocol::StringProp>(7, "own");
  object.properties["bad"] = holding<protocol::StringProp>(1, "x");
  TextOutput named, all;
  writeProperties(named, object, false, false, {"version", "Id", "id", "b", "none"});
  EXPECT_EQ(named.text(), "id=1F\nversion=7\nId=own\nb=(NULL)\n");
  EXPECT_EQ(textOf<errors::tql>([&] { writeProperties(all, object, true, true, {}); }),
            "Null given for boolean property: p");
  EXPECT_EQ(all.text(),
            "id=1F (Const Id)\nclass=Node (Const Class Type)\nversion=7 (Version String, Read Only)\n"
            "Id=own (Id)\nb=(NULL) (String, NULL allowed)\n");
}

}  // namespace
