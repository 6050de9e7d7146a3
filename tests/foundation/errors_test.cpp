#include "foundation/errors.h"

#include <gtest/gtest.h>

#include "foundation/class_name.h"

using namespace morvex;

namespace shapes {
struct Shape {
  virtual ~Shape() = default;
};
struct Square : Shape {};
template <class T>
struct Framed : Shape {};
}  // namespace shapes

TEST(Errors, TextIsDescriptionAndSuffix) {
  errors::tql fault("", ErrorCode::conflict);
  fault.suffix = ": parsing x";
  EXPECT_EQ(errors::tql(fault).text(), "Someone else has updated the object: parsing x");
  EXPECT_EQ(errors::tql_incomparable("apples").text() + errors::tql_incomparable("").text(),
            "applesIncomparable property");
  EXPECT_EQ(errorString(14) + errorText(15) + errorText(16), "Backend errorAccess deniedUnknown error");
}

TEST(ClassName, DropsTheNamespaceAlone) {
  EXPECT_EQ(typeName(typeid(long)) + typeName(typeid(shapes::Square)), "longshapes::Square");
  shapes::Framed<shapes::Square> framed;
  shapes::Shape *shape = &framed, *nothing = nullptr;
  EXPECT_EQ(checked_cast<shapes::Framed<shapes::Square>*>(shape), &framed);
  const std::string words = "^Assertion failed: checked_cast failed, ";
  EXPECT_DEATH(checked_cast<const shapes::Square*>(nothing), words + "\\(null\\) should have been Square\n$");
  EXPECT_DEATH(checked_cast<shapes::Square*>(shape),
               words + "Framed<shapes::Square> should have been Square\n$");
}
