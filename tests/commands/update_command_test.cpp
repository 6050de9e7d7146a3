#include "commands/update_command.h"

#include <gtest/gtest.h>

#include "foundation/output.h"
#include "query/tql/property_codec.h"
#include "support/wire.h"

namespace {

TEST(UpdateCommand, SendsOnlyWhatDiffers) {
  tqlquery::PropertyMap current;
  tql::encode(current["count"], "count", 0x40002, std::uint32_t{5});
  tql::encode(current["label"], "label", tql::kString, std::string("a=b"));
  tql::encodeNull(current["reset"], "reset", 0x20009);
  EXPECT_TRUE(changesTo(current, {{"count", "+5"}, {"label", "a=b"}}).empty());
  std::string sent;
  for (const auto& property : changesTo(current, {{"reset", "action"}, {"new", "7"}, {"count", "6"}})) {
    sent += (sent.empty() ? "" : " ") + writtenHex(property);
  }
  EXPECT_EQ(sent, plainHex("30 80 04 05 'count' 02 03 04 00 02 A3 80 02 01 06 00 00 00 00"
                           "30 80 04 03 'new' 02 01 06 A0 80 04 01 '7' 00 00 00 00"
                           "30 80 04 05 'reset' 02 01 09 A6 80 00 00 00 00"));
}

TEST(UpdateCommand, TellsWhyTheServerRefuses) {
  const auto update = comquery::make<ConsoleUpdate>("1F", "7", std::list<protocol::Property>());
  testing::internal::CaptureStdout();
  update->onError(3, {"silent"});
  update->onError(8, {});
  update->onError(9, {"one", "two"});
  standardOutput().flush();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Error updating 1F:\nRequested update of const property\nError updating 1F:\none\ntwo\n");
}

}  // namespace
