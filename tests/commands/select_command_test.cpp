#include "commands/select_command.h"

#include <gtest/gtest.h>

#include "commands/support.h"
#include "foundation/errors.h"

namespace {

const TimeZone kGreenwich(0);

TEST(SelectCommand, TakesSecondsAndIsoTimes) {
  const auto parse = [](const char* text) { return parseTimeArgument(text, kGreenwich); };
  EXPECT_EQ(parse("4294967295"), 4294967295);
  EXPECT_EQ(parse("2003-03-25-T00:25:03"), 1048551903);
  EXPECT_EQ(parse("2106-02-07-T06:28:16"), 4294967296);
  EXPECT_EQ(parse(""), 0);
  EXPECT_EQ(parse("2003-13-25-T00:25:03"), 0);
  EXPECT_THROW(parse("-1"), error::EParseError);
}

}  // namespace
