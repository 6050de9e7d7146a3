#include <gtest/gtest.h>

#include "platform/traffic.h"
#include "protocol/messages/agent.h"
#include "protocol/messages/envelope.h"
#include "support/reading.h"

using namespace morvex;
using namespace protocol;

TEST(Messages, HaveTheseBytes) {
  const struct {
    std::string current, legacy = "";
    std::uint64_t entries = 0;  // of a series
  } rows[] = {
      {"60 80 02 02 02 03 A0 80 00 00 00 00", "60 80 02 02 02 03 60 80 00 00 00 00"},
      {"74 80 02 01 01 A0 80 31 80 04 01 'B' 04 01 'A' 04 01 'B' 00 00"
       "30 80 04 04 'Node' 02 01 00 05 00 30 80 00 00"
       "30 80 00 00 30 80 30 80 30 80 04 01 'p' 02 01 03 A2 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "31 80 04 01 'q' 00 00 00 00 02 01 00 00 00 00 00"},
      {"75 80 02 01 02 A0 80 30 80 30 80 04 01 'N' 02 02 00 FF 04 01 '1' 04 01 'v' 30 80"
       "30 80 04 01 's' 02 01 00 A0 80 04 01 'x' 00 00 00 00"
       "30 80 04 00 02 01 00 A1 80 30 80 04 01 'a' 04 00 00 00 00 00 00 00"
       "30 80 04 00 02 01 00 A3 80 02 02 00 80 00 00 00 00"
       "30 80 04 00 02 01 00 A4 80 09 0D 00 '2.000000e+00' 00 00 00 00"
       "30 80 04 00 02 01 00 A6 80 00 00 00 00 00 00"
       "30 80 00 00 31 80 02 01 01 00 00 00 00 00 00 00 00 00 00"},
      {"75 80 02 01 03 A6 80 02 01 11 30 80 30 80 A1 80 02 01 05 0A 01 01 04 02 'up' 00 00 00 00"
       "30 80 A2 80 02 01 00 02 01 00 09 00 09 00 30 80 09 00 09 0D 00 '1.000000e+00' 00 00 00 00 00 00"
       "30 80 A3 80 02 01 01 02 01 02 09 01 40 09 00 09 01 41 02 01 03 02 01 04 00 00 00 00"
       "00 00 00 00 00 00",
       "", 3},
      {"7F 1F 80 01 01 01 04 02 'ok' 00 00", "7F 1F 80 01 01 01 16 02 'ok' 00 00"},
  };
  g_traffic.rowKind = &DataInterval::kSchema;
  for (const auto& row : rows) {
    const std::uint64_t rowsBefore = g_traffic.rows;
    decodedInPieces(bytesOf(row.current), 0, false, guiProtocol::instance());
    const auto message = decoded(row.current);
    EXPECT_EQ(writtenHex(*message), plainHex(row.current));
    EXPECT_EQ(g_traffic.rows - rowsBefore, 3 * row.entries) << "in single bytes, whole, and written";
    if (!row.legacy.empty()) {
      EXPECT_EQ(writtenHex(*message, true), plainHex(row.legacy));
      EXPECT_TRUE(*decoded(row.legacy, true) == *message) << row.legacy;
    }
  }
  g_traffic.rowKind = nullptr;
}

TEST(Messages, AreNotWrittenBeyondTheirLimits) {
  PutDataReq series;
  series.dataType = 18;
  SelectReq select;
  select.startIds.push_back(std::string(33, 'x'));
  ContinuousConf limits;
  limits.alertIfAbove = std::string(65537, 'x');
  GetLastDataResp last;
  last.data.emplace().data.emplace<DataIntervalIncident>().text = std::string(65537, 'x');
  const std::tuple<const Record&, std::string, std::string> rows[] = {
      {series, "A7 80 04 00 04 00", "data out of range in BerIntegerTemplate<int>::write 0 <= 18 <= 17"},
      {select, "A0 80 31 80", "String exceeds allowed length 33 > 32"},
      {limits, "A0 80", "String exceeds allowed length 65537 > 65536"},
      {last, "A9 80 02 01 00 30 80 A1 80 02 01 00 0A 00", "String exceeds allowed length 65537 > 65536"},
  };
  for (const auto& [message, ahead, text] : rows) {
    MemoryIo io;
    EXPECT_EQ(textOf<EBer>([&, &message = message] { message.write(io, false); }), text);
    EXPECT_EQ(hexOf(io.bytes), ahead) << "the fields ahead of the refused one, and nothing of it";
  }
}

TEST(MessagesDeathTest, WantTheirUnionsSet) {
  EXPECT_DEATH(writtenHex(SelectReq()), "^Assertion failed: this->pattern is NULL during BER write");
  SelectResp answer;
  answer.objects.emplace_back();
  EXPECT_DEATH(writtenHex(answer), "^Assertion failed: \\(\\*it\\) is NULL during BER write");
}
