#include "query/update.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "query/tql/property_codec.h"
#include "support/wire.h"

using namespace morvex;

namespace {

struct Plain : tqlquery::Update {
  using Update::Update;
};
using Properties = std::list<protocol::Property>;

TEST(Update, SendsThePropertiesInTheirOrder) {
  Properties properties(2);
  tql::encodeNull(properties.front(), "b", tql::kAction);
  tql::encodeNull(properties.back(), "a", tql::kString);
  EXPECT_EQ(writtenHex(*comquery::make<Plain>("1F", "7-2", properties)->encode()),
            plainHex("A2 80 04 02 '1F' 04 03 '7-2' 30 80 30 80 04 01 'b' 02 01 09 A6 80 00 00 00 00"
                     "30 80 04 01 'a' 02 01 06 A6 80 00 00 00 00 00 00 00 00"));
}

TEST(Update, KeepsTheNewVersionOrTheRefusal) {
  const auto update = comquery::make<Plain>("1F", "7-2", Properties());
  protocol::UpdateResp done;
  done.version = "7-3";
  update->decode(done);
  protocol::ErrorResp refusal;
  refusal.code = 3;
  update->decode(refusal);
  EXPECT_EQ(update->errorCode(), 3U);
  EXPECT_EQ(update->newVersion, "7-3");
  protocol::SelectResp other;
  EXPECT_EQ(textOf<errors::bererror>([&] { update->decode(other); }), "Wrong type in Select::decode.");
}

}  // namespace
