#include "protocol/schema.h"

#include <gtest/gtest.h>

#include <memory>

#include "protocol/messages/envelope.h"
#include "support/ber_driver.h"
#include "support/wire.h"

using namespace protocol;

namespace {

// A value with the content as a peer would send it.
template <class T>
std::shared_ptr<BerValue> from(std::string_view hex) {
  const auto input = bytesOf(hex);
  auto value = std::make_shared<T>();
  BerDriver(input).fill(*value);
  return value;
}

// Objects below one another; every field of one chain can be made greater than its counterpart in the other.
Owned<Object> chain(std::size_t depth, bool greater) {
  Owned<Object> top;
  for (std::size_t i = 0; i < depth; ++i) {
    auto object = std::make_unique<Object>();
    object->className = object->id = object->version = greater ? "b" : "a";
    object->objectNumber = greater ? 2 : 1;
    object->objectSet.resize(greater ? 1 : 0);
    if (greater) {
      object->properties.emplace_back().emplace().data.emplace<NullProp>();
    }
    if (top || greater) {
      object->children.push_back(top ? std::move(top) : Owned(std::make_unique<Object>()));
    }
    top = std::move(object);
  }
  return top;
}

}  // namespace

TEST(Schema, ComparesFieldByField) {
  const auto number = [](const char* hex) { return from<SignedIntProp>(hex); };
  const auto pair = [](const char* first, const char* second) {
    return from<CreateResp>("A3 80 04 01 '" + std::string(first) + "' 04 01 '" + second + "' 00 00");
  };
  const auto texts = [](const std::string& list) {
    return from<StringListProp>("A1 80 30 80" + list + "00 00 00 00");
  };
  const auto objects = [](const std::string& list) {
    return from<SelectResp>("A0 80 30 80" + list + "00 00 00 00");
  };
  const auto entries = [](const std::string& list) {
    return from<DataIntervalRawDEPRECATED>("A0 80 30 80" + list + "00 00 00 00");
  };
  const auto data = [](const char* hex) {
    return from<Property>("30 80 04 01 'n' 02 01 00" + std::string(hex) + "00 00");
  };
  const auto interval = [](const char* hex) {
    return hex == nullptr ? std::make_shared<DataInterval>()
                          : from<DataInterval>("30 80" + std::string(hex) + "00 00");
  };
  const std::string low = "30 80 02 01 01 02 01 01 09 00 09 00 09 00 02 01 01 02 01 01 00 00";
  const std::string high = "30 80 02 01 02 02 01 02 09 01 40 09 01 40 09 01 40 02 01 02 02 01 02 00 00";
  const std::string mixed = "30 80 02 01 02 02 01 01 09 00 09 00 09 00 02 01 01 02 01 01 00 00";
  const struct {
    const char* name;
    std::shared_ptr<BerValue> left, right;
    bool equal, less;
  } rows[] = {
      {"equal numbers", number("A2 80 02 01 05 00 00"), number("A2 80 02 02 00 05 00 00"), true, false},
      {"ordered numbers", number("A2 80 02 01 FF 00 00"), number("A2 80 02 01 00 00 00"), false, true},
      {"every field less", pair("a", "b"), pair("b", "c"), false, true},
      {"one field equal", pair("a", "b"), pair("b", "b"), false, false},
      {"fields at odds", pair("a", "c"), pair("b", "b"), false, false},
      {"without fields", std::make_shared<NullProp>(), std::make_shared<NullProp>(), true, true},
      {"other class", std::make_shared<NullProp>(), std::make_shared<EraseResp>(), false, false},
      {"shorter list", texts("04 01 'z'"), texts("04 01 'a' 04 01 'a'"), false, true},
      {"first difference", texts("04 01 'a' 04 01 'z'"), texts("04 01 'b' 04 01 'a'"), false, true},
      {"equal lists", texts("04 01 'a'"), texts("04 01 'a'"), true, false},
      {"empty lists", texts(""), texts(""), true, false},
      {"list of records, first difference", entries(low + low), entries(low + high), false, true},
      {"list of records, no order in it", entries(low + high), entries(mixed + high), false, false},
      {"list of records, size", objects(""), entries(low), false, false},
      {"union of another class", data("A2 80 02 01 01 00 00"), data("A3 80 02 01 01 00 00"), false, false},
      {"equal unions", data("A2 80 02 01 01 00 00"), data("A2 80 02 01 01 00 00"), true, false},
      {"ordered unions", interval("A0 80 30 80 00 00 00 00"),
       interval(("A0 80 30 80" + low + "00 00 00 00").c_str()), false, true},
      {"one union missing", interval(nullptr), interval("A0 80 30 80 00 00 00 00"), false, false},
      {"both unions missing", interval(nullptr), interval(nullptr), true, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(*row.left == *row.right, row.equal) << row.name;
    EXPECT_EQ(*row.right == *row.left, row.equal) << row.name;
    EXPECT_EQ(*row.left < *row.right, row.less) << row.name;
    EXPECT_EQ(*row.right > *row.left, row.less) << row.name;
    const bool bothWays = row.less && row.equal;
    EXPECT_EQ(*row.right < *row.left || *row.left > *row.right, bothWays) << row.name;
  }
}

TEST(Schema, CopiesDeeply) {
  SelectReq original;
  PathPattern& pattern = original.pattern.emplace();
  PathPattern* step = &pattern;
  for (const char* name : {"A", "B", "C", "D"}) {  // through both lists, between empty elements
    ListOfPathPattern& list = name[0] % 2 == 0 ? step->children : step->colonChildren;
    list.resize(3);
    step = &list[1].emplace();
    step->className = name;
  }
  pattern.filter.emplace_back().emplace().prop.emplace().data.emplace<StringProp>().value = "x";
  const std::unique_ptr<BerValue> clone = original.clone();
  const SelectReq copy = original;
  EXPECT_TRUE(*clone == original);
  EXPECT_TRUE(copy == original);

  pattern.filter[0]->prop->data.as<StringProp>()->value = "changed";
  EXPECT_FALSE(*clone == original);
  EXPECT_FALSE(copy == original);
  EXPECT_EQ(copy.pattern->filter[0]->prop->data.as<StringProp>()->value, "x");
  EXPECT_EQ(copy.pattern->colonChildren[1]->children[1]->className, "B");
  EXPECT_FALSE(copy.pattern->colonChildren[2]);
}

TEST(Schema, ListsAreWrappedOnlyWhileTheyTravel) {
  UnsignedIntListProp record;
  record.value = {1, 2};
  FieldSlot slot;
  const std::unique_ptr<BerValue> list(record.makeField(0, BE_SEQ.current, false, slot));
  EXPECT_EQ(list->constructed()->name(), "ListOfInteger0x0to0xffffffff");
  EXPECT_EQ(writtenHex(*list), "30 80 02 01 01 02 01 02 00 00");
  EXPECT_FALSE(*list > BerConstructedSkipper(129));
  EXPECT_EQ(textOf<EBer>([&] { (void)list->clone(); }),
            "Copy constructor of ListOfInteger0x0to0xffffffff invoked");
}

TEST(Schema, DepthCostsNoStack) {
  constexpr std::size_t kDepth = 200000;
  Owned<Object> low = chain(kDepth, false);
  const Owned<Object> high = chain(kDepth, true);
  EXPECT_TRUE(*low < *high);
  EXPECT_FALSE(*low > *high);
  const Owned<Object> copy = low;
  EXPECT_TRUE(*copy == *low);
  MemoryIo io;
  low->write(io, false);
  EXPECT_EQ(io.bytes.size(), kDepth * 28 - 4 + 4);
  low = Owned<Object>();
  EXPECT_EQ(copy->className, "a");
}
