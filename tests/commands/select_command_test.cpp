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

// An incident at 0, then spans that begin at 1, 2, ...
dataquery::Intervals entries(std::int32_t count) {
  dataquery::Intervals list(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    auto& entry = list[static_cast<std::size_t>(i)].emplace();
    if (i == 0) {
      entry.data.emplace<protocol::DataIntervalIncident>();
    } else {
      entry.data.emplace<protocol::DataIntervalEnum>().begin = i;
    }
  }
  return list;
}

struct LimitRow {
  std::int32_t count, first, last;
  const char* printed;  // the first letter of each line, of the header too
};
constexpr LimitRow kLimits[] = {
    {0, 0, 0, ""},      {0, 1, 0, ""},   {4, 0, 0, "T0123"}, {4, 1, 0, "T0"},    {4, 3, 0, "T012"},
    {4, 9, 0, "T0123"}, {4, 0, 1, "B3"}, {4, 0, 3, "B123"},  {4, 0, 4, "T0123"}, {4, 0, 2147483647, "T0123"}};

TEST(SelectCommand, LimitsCutEitherEndAndTheFirstEntryPrintedDecidesTheHeader) {
  for (const auto& [count, first, last, printed] : kLimits) {
    TextOutput output;
    printEntries(output, "%s", entries(count), {first, last}, kGreenwich);
    std::string letters;
    for (std::size_t at = 0; at < output.text().size(); at = output.text().find('\n', at) + 1) {
      letters += output.text()[at];
    }
    EXPECT_EQ(letters, printed) << count << ' ' << first << ' ' << last;
  }
}

}  // namespace
