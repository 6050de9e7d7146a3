#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/handshake.h"
#include "support/reading.h"

using namespace morvex;

using namespace protocol;

TEST(Messages, HaveTheseBytes) {
  const struct {
    std::string current, legacy = "";
  } rows[] = {
      {"60 80 02 02 02 03 A0 80 00 00 00 00", "60 80 02 02 02 03 60 80 00 00 00 00"},
      {"61 80 02 02 02 03 A3 80 02 01 01 02 00 02 01 FF 02 02 80 00 02 01 01 00 00 00 00"},
      {"71 80 02 01 FF 02 04 5F 5E 10 00 04 02 '1F' 04 00 04 00 00 00",
       "71 80 02 01 FF 02 04 5F 5E 10 00 16 02 '1F' 16 00 16 00 00 00"},
      {"74 80 02 01 01 A0 80 31 80 04 01 'B' 04 01 'A' 04 01 'B' 00 00"
       "30 80 04 04 'Node' 02 01 00 05 00 30 80 00 00"
       "30 80 00 00 30 80 30 80 30 80 04 01 'p' 02 01 03 A2 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "31 80 04 01 'q' 00 00 00 00 02 01 00 00 00 00 00",
       "74 80 02 01 01 60 80 21 80 16 01 'B' 16 01 'A' 16 01 'B' 00 00"
       "20 80 16 04 'Node' 02 01 00 05 00 20 80 00 00"
       "20 80 00 00 20 80 20 80 20 80 16 01 'p' 02 01 03 62 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "21 80 16 01 'q' 00 00 00 00 02 01 00 00 00 00 00"},
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
       "00 00 00 00 00 00"},
      {"69 80 04 01 'x' 02 01 FF 30 80 30 80 04 01 's' 02 02 11 51 00 00 00 00 30 80 30 80 04 01 'g' 30 80"
       "30 80 02 01 FF 04 01 'a' A0 80 02 01 05 05 00 09 00 04 00 00 00 04 00 00 00"
       "30 80 02 01 00 04 00 A1 80 30 80 0A 00 0A 01 02 00 00 00 00 04 00 00 00"
       "30 80 02 01 00 04 00 A4 80 04 01 'r' 0A 01 01 30 80 30 80 04 01 'e' 0A 01 02 0A 00 04 01 'f'"
       "00 00 00 00 02 01 09 05 00 00 00 04 00 00 00 00 00 30 80 00 00 00 00 00 00 00 00"},
      {"6A 80 30 80 30 80 02 01 05 04 01 'c' 0A 01 02 30 80 04 01 't' 00 00 05 00 04 00 00 00 00 00 00 00",
       "6A 80 20 80 20 80 02 01 05 16 01 'c' 0A 01 02 20 80 16 01 't' 00 00 05 00 16 00 00 00 00 00 00 00"},
      {"7F 1F 80 01 01 01 04 02 'ok' 00 00", "7F 1F 80 01 01 01 16 02 'ok' 00 00"},
      {"7C 80 02 03 00 FF FF 02 01 01 02 05 00 FF FF FF FF 01 01 01 04 01 'm' 00 00"},
      {"79 80 30 80 30 80 A4 80 02 01 01 02 01 02 02 01 03 02 01 04 02 01 05 00 00 00 00 00 00 00 00"},
      {"6D 80 02 01 01 04 03 'zip' 00 00"},
  };
  for (const auto& row : rows) {
    const auto message = decoded(row.current);
    EXPECT_EQ(writtenHex(*message), plainHex(row.current));
    if (!row.legacy.empty()) {
      EXPECT_EQ(writtenHex(*message, true), plainHex(row.legacy));
      EXPECT_TRUE(*decoded(row.legacy, true) == *message) << row.legacy;
    }
  }
}

TEST(MessagesDeathTest, WantTheirUnionsSet) {
  EXPECT_DEATH(writtenHex(SelectReq()), "^Assertion failed: this->pattern is NULL during BER write");
  SelectResp answer;
  answer.objects.emplace_back();
  EXPECT_DEATH(writtenHex(answer), "^Assertion failed: \\(\\*it\\) is NULL during BER write");
  EXPECT_DEATH((void)PathPattern().number.value(), "^Assertion failed: Value of null taken");
}
