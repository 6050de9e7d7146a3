#include "query/result.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "query/tql/property_codec.h"
#include "support/wire.h"

using namespace morvex;

namespace {

using tqlquery::Result;

// A domain with two properties of one name and two children; the second child has a child.
protocol::Object sampleTree() {
  protocol::Object domain;
  domain.className = "Domain";
  domain.objectNumber = 4000000000;
  domain.id = "1F";
  domain.version = "v1";
  domain.objectSet.assign({5, 3, 5});
  for (const std::string value : {"first", "second"}) {
    tql::encode(domain.properties.emplace_back(), "siblingName", tql::kString, value);
  }
  tql::encodeNull(domain.properties.emplace_back(), "empty", tql::kString);
  domain.children.emplace_back().emplace().id = "a";
  domain.children.emplace_back().emplace().id = "b";
  domain.children.back()->children.emplace_back().emplace().id = "c";
  return domain;
}

TEST(Result, HoldsTheContentsOfAnObject) {
  const Result result = sampleTree();
  EXPECT_EQ(tqlquery::getStringProperty(result, "siblingName"), "first");
  EXPECT_EQ(textOf<errors::objecterror>([&] { tqlquery::getStringProperty(result, "nope"); }),
            "Property \"nope\" not found in 1F");
  EXPECT_EQ(textOf<errors::tql>([&] { tqlquery::getStringProperty(result, "empty"); }),
            "Null given for string property: empty");

  // The copy differs only in duplicates, which sets and maps drop, and in their order.
  protocol::Object expected = sampleTree();
  expected.objectSet.assign({3, 5});
  expected.properties.erase(expected.properties.begin() + 1);
  std::swap(expected.properties[0], expected.properties[1]);
  EXPECT_TRUE(*tqlquery::toObject(result) == expected);
}

TEST(Result, NestsToAnyDepth) {
  constexpr int kDepth = 200000;
  protocol::Object object;
  protocol::Object* last = &object;
  for (int i = 0; i < kDepth; ++i) {
    last = &last->children.emplace_back().emplace();
  }
  last->id = "bottom";
  const auto copy = tqlquery::toObject(object);
  const protocol::Object* at = copy.get();
  for (int i = 0; i < kDepth; ++i) {
    at = at->children.front().get();
  }
  EXPECT_EQ(at->id, "bottom");
}

}  // namespace
