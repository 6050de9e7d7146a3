#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/handshake.h"
#include "support/reading.h"

using namespace protocol;

namespace {

const std::string kProp = "30 80 04 00 02 01 00 ";
const std::string kObjects =
    "75 80 02 01 02 A0 80 30 80 30 80 04 01 'N' 02 02 00 FF 04 01 '1' 04 01 'v' 30 80"
    "30 80 04 01 's' 02 01 00 A0 80 04 01 'x' 00 00 00 00" +
    kProp + "A1 80 30 80 04 01 'a' 04 00 00 00 00 00 00 00" + kProp + "A2 80 02 01 80 00 00 00 00" + kProp +
    "A3 80 02 02 00 80 00 00 00 00" + kProp + "A4 80 09 0D 00 '2.000000e+00' 00 00 00 00" + kProp +
    "A5 80 01 01 01 00 00 00 00" + kProp + "A6 80 00 00 00 00" + kProp + "A7 80 04 01 'b' 00 00 00 00" +
    kProp + "A8 80 30 80 02 01 09 00 00 00 00 00 00" + kProp + "A9 80 02 01 FF 00 00 00 00" + kProp +
    "AA 80 02 01 01 00 00 00 00" + kProp + "AB 80 02 01 FF 00 00 00 00" + kProp +
    "AC 80 04 01 'l' 00 00 00 00 00 00"
    "30 80 30 80 04 00 02 01 00 04 00 04 00 30 80 00 00 30 80 00 00 31 80 00 00 00 00 00 00"
    "31 80 02 01 01 02 01 01 00 00 00 00 00 00 00 00 00 00";
const std::string kIntervals =
    "75 80 02 01 03 A6 80 02 01 11 30 80 30 80 A1 80 02 01 05 0A 01 01 04 02 'up' 00 00 00 00"
    "30 80 A2 80 02 01 00 02 01 00 09 00 09 00 30 80 09 00 09 0D 00 '1.000000e+00' 00 00 00 00 00 00"
    "30 80 A3 80 02 01 01 02 01 02 09 01 40 09 00 09 01 41 02 01 03 02 01 04 00 00 00 00"
    "00 00 00 00 00 00";

}  // namespace

TEST(Messages, HaveTheseBytes) {
  const struct {
    std::string current, legacy;
  } rows[] = {
      {"60 80 02 02 02 03 A0 80 00 00 00 00", "60 80 02 02 02 03 60 80 00 00 00 00"},
      {"71 80 02 01 FF 02 04 5F 5E 10 00 04 02 '1F' 04 00 04 00 00 00",
       "71 80 02 01 FF 02 04 5F 5E 10 00 16 02 '1F' 16 00 16 00 00 00"},
      {"74 80 02 01 01 A0 80 31 80 04 01 'B' 04 01 'A' 04 01 'B' 00 00"
       "30 80 04 04 'Node' 02 01 00 05 00"
       "30 80 30 80 04 00 02 01 00 02 01 00 30 80 00 00 30 80 00 00 30 80 00 00 31 80 00 00 00 00 00 00"
       "30 80 00 00 30 80 30 80 30 80 04 01 'p' 02 01 03 A2 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "31 80 04 01 'q' 00 00 00 00 02 01 00 00 00 00 00",
       "74 80 02 01 01 60 80 21 80 16 01 'B' 16 01 'A' 16 01 'B' 00 00"
       "20 80 16 04 'Node' 02 01 00 05 00"
       "20 80 20 80 16 00 02 01 00 02 01 00 20 80 00 00 20 80 00 00 20 80 00 00 21 80 00 00 00 00 00 00"
       "20 80 00 00 20 80 20 80 20 80 16 01 'p' 02 01 03 62 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "21 80 16 01 'q' 00 00 00 00 02 01 00 00 00 00 00"},
      {kObjects, ""},
      {kIntervals, ""},
      {"75 80 02 01 04 A8 80 02 01 03 30 80 04 01 '7' 00 00 00 00 00 00",
       "75 80 02 01 04 68 80 02 01 03 20 80 16 01 '7' 00 00 00 00 00 00"},
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

TEST(Messages, TakeTheirFieldsFromTheirMembers) {
  Request request;
  request.requestId = 7;
  auto& last = request.req.emplace<GetLastDataReq>();
  last.objectId = "1F";
  last.tableName = "tsdbIndex";
  EXPECT_EQ(writtenHex(request),
            "74 80 02 01 07 A8 80 04 02 31 46 04 09 74 73 64 62 49 6E 64 65 78 00 00 00 00");
  EXPECT_EQ(writtenHex(request, true),
            "74 80 02 01 07 68 80 16 02 31 46 16 09 74 73 64 62 49 6E 64 65 78 00 00 00 00");

  const auto objects = decoded(kObjects);
  const auto& object = *dynamic_cast<Response&>(*objects).resp.as<SelectResp>()->objects.at(0);
  EXPECT_EQ(object.className + object.id + object.version, "N1v");
  EXPECT_EQ(object.objectNumber, 255U);
  const auto& properties = object.properties;
  EXPECT_TRUE(properties[3]->data.as<UnsignedIntProp>() && properties[7]->data.as<BlobProp>());

  const auto data = decoded(kIntervals);
  const auto& intervals = dynamic_cast<Response&>(*data).resp.as<GetDataResp>()->intervals;
  const auto& incident = *intervals.at(0)->data.as<DataIntervalIncident>();
  EXPECT_TRUE(incident.time == 5 && incident.severity == Severity{1} && incident.text == "up");
  const auto& sawtooth = *intervals.at(2)->data.as<DataIntervalSawtooth>();
  EXPECT_TRUE(sawtooth.begin == 1 && sawtooth.end == 2 && sawtooth.ngood == 3 && sawtooth.nbad == 4);
  EXPECT_TRUE(sawtooth.max > 0 && sawtooth.avg == 0 && sawtooth.min < 0);
}

// What a peer may leave out or add, and what this program writes in its place.
TEST(Messages, AcceptShorterAndLongerForms) {
  const struct {
    const char* read;
    const char* written;
  } rows[] = {
      {"61 80 02 00 A1 80 01 01 01 00 00 00 00", "61 80 02 01 00 A1 80 01 01 01 01 01 00 00 00 00 00"},
      {"64 80 02 01 05 00 00", "64 80 02 01 05 02 00 00 00"},
      {"75 80 02 01 01 A2 80 00 00 00 00", "75 80 02 01 01 A2 80 04 00 00 00 00 00"},
      {"75 80 02 01 01 A3 80 04 01 '1' 00 00 00 00", "75 80 02 01 01 A3 80 04 01 '1' 04 00 00 00 00 00"},
      {"74 80 02 01 01 A9 80 02 01 02 30 80 00 00 00 00 00 00",
       "74 80 02 01 01 A9 80 02 01 02 30 80 00 00 30 80 00 00 00 00 00 00"},
      {"74 80 02 01 01 A6 80 04 00 04 00 01 01 01 02 01 01 02 01 02 02 02 07 D0 00 00 00 00",
       "74 80 02 01 01 A6 80 04 00 04 00 01 01 01 02 01 01 02 01 02 02 02 07 D0 02 01 00 00 00 00 00"},
      {"75 80 02 01 01 A9 80 02 01 00 30 80 A4 80 02 01 01 02 01 02 02 01 03 00 00 00 00 00 00 00 00",
       "75 80 02 01 01 A9 80 02 01 00 30 80 A4 80 02 01 01 02 01 02 02 01 03 02 01 00 02 01 00 00 00 00 00"
       "00 00 00 00"},
      // Definite lengths, and unknown fields behind the known ones, at any depth.
      {"62 00", "62 80 00 00"},
      {"7D 05 02 01 09 05 00", "7D 80 02 01 09 00 00"},
      {"7D 80 02 01 09 04 01 'x' A5 80 30 04 02 02 12 34 19 BF 7F 80 00 00 00 00 00 00",
       "7D 80 02 01 09 00 00"},
      {"62 80 02 01 01 A0 03 05 01 00 00 00", "62 80 00 00"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(writtenHex(*decoded(row.read)), plainHex(row.written)) << row.read;
  }
}

// Each row ends with the tag that is refused, or the content.
TEST(Messages, RefuseWhatDoesNotFit) {
  const struct {
    std::string hex, reason, place = {};
    bool legacy = false;
  } rows[] = {
      {"60 80 04 00", "Tag mismatch, got 32 expected BE_INTEGER", "ClientWants:1"},
      {"70 80 16 00", "Tag mismatch, got 176 expected BE_STRING_CURRENT", "NewSession:1"},
      {"70 80 04 00", "Tag mismatch, got 32 expected BE_STRING_LEGACY", "NewSession:1", true},
      {"60 80 02 03 01 00 00", "data out of range in BerIntegerTemplate<int>::readDone 0 <= 65536 <= 65535"},
      {"77 80 02 00 02 03 0F 42 40",
       "data out of range in BerIntegerTemplate<int>::readDone 0 <= 1000000 <= 999999"},
      {"70 80 04 82 04 01", "String exceeds allowed length 1025 > 1024"},
      {"70 80 04 00 04 81 81", "String exceeds allowed length 129 > 128"},
      {"60 80 02 00 A4", "Unexpected tag 37 received in Union ClientWants.this->authentication",
       "ClientWants:2"},
      {"74 80 02 00 A4", "Unexpected tag 37 received in Union Request.this->req", "Request:2"},
      {"75 80 02 00 AB", "Unexpected tag 93 received in Union Response.this->resp", "Response:2"},
      {"74 80 02 00 A9 80 02 00 30 80 30 80 04 00 02 00 AD",
       "Unexpected tag 109 received in Union Property.this->data",
       "Request:2, CallReq:2, ListOfProperty:1, Property:3"},
      {"75 80 02 00 A0 80 31", "Tag mismatch, got 137 expected BE_SEQ_CURRENT", "Response:2, SelectResp:1"},
      {"75 80 02 00 A0 80 30 80 02", "Tag mismatch, got 16 expected BE_OBJECT_CURRENT",
       "Response:2, SelectResp:1, ListOfObject:1"},
      {"75 80 02 00 60 80 20 80 31", "Tag mismatch, got 137 expected BE_OBJECT_LEGACY",
       "Response:2, SelectResp:1, ListOfObject:1", true},
      {"74 80 02 00 A0 80 30", "Tag mismatch, got 129 expected BE_SET_CURRENT", "Request:2, SelectReq:1"},
      {"74 80 02 00 A0 80 31 80 02", "Tag mismatch, got 16 expected BE_STRING_CURRENT",
       "Request:2, SelectReq:1, SetOfString32:1"},
      {"74 80 02 00 A0 80 31 00 31", "Tag mismatch, got 137 expected BE_PATH_PATTERN_CURRENT",
       "Request:2, SelectReq:2"},
      {"74 80 02 00 A0 80 31 00 30 80 04 00 02 00 04", "Tag mismatch, got 32 expected BE_INTEGER",
       "Request:2, SelectReq:2, PathPattern:3"},
      {"75 80 02 00 A6 80 02 01 12", "data out of range in BerIntegerTemplate<int>::readDone 0 <= 18 <= 17"},
      {"75 80 02 00 A6 80 02 00 30 80 30 80 A1 80 02 00 02", "Tag mismatch, got 16 expected BE_ENUMERATED",
       "Response:2, GetDataResp:2, ListOfDataInterval:1, DataInterval:1, DataIntervalIncident:2"},
      {"75 80 02 00 A9 80 02 00 02", "Tag mismatch, got 16 expected BE_DATA_INTERVAL_CURRENT",
       "Response:2, GetLastDataResp:2"},
      {"75 80 02 00 00 00", "Got to few fields of constructed value"},
      {"75 80 02 00 A0 80 30 80 30 80 04 00 02 00 04 00 04 00 30 00 30 00 00 00",
       "Got to few fields of constructed value"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(textOf<EBer>([&] { decoded(row.hex + "00", row.legacy); }),
              row.reason + (row.place.empty() ? "" : ", BerReader: " + row.place));
  }
}

TEST(Messages, WriteNothingOfARefusedField) {
  GetDataReq request;
  request.number1 = 2001;
  MemoryIo io;
  EXPECT_EQ(textOf<EBer>([&] { request.write(io, false); }),
            "data out of range in BerIntegerTemplate<int>::write 0 <= 2001 <= 2000");
  EXPECT_EQ(hexOf(io.bytes), "A6 80 04 00 04 00 01 01 00 02 01 00 02 01 00");
}

TEST(Messages, HoldPlainValuesOfFourTypes) {
  const std::string head = "30 80 02 01 05 04 00 0A 00 30 80 04 01 't' 00 00 ";
  const auto result = [&](const std::string& value) {
    return decoded(head + value + "00 00", false, Only<CheckResult>());
  };
  for (const std::string value : {"02 01 07", "04 02 'hi'", "05 00", "09 0D 00 '2.500000e+00'"}) {
    EXPECT_EQ(writtenHex(*result(value)), plainHex(head + value + "04 00 00 00"));
    EXPECT_TRUE(*result(value) == *result(value)->clone());
  }
  EXPECT_EQ(textOf<EBer>([&] { result("01 00"); }),
            "Unexpected tag 8 received in Union CheckResult.this->value, BerReader: CheckResult:5");
}

TEST(MessagesDeathTest, WantTheirUnionsSet) {
  EXPECT_DEATH(writtenHex(SelectReq()), "^Assertion failed: this->pattern is NULL during BER write");
  SelectResp answer;
  answer.objects.emplace_back();
  EXPECT_DEATH(writtenHex(answer), "^Assertion failed: \\(\\*it\\) is NULL during BER write");
  EXPECT_DEATH((void)PathPattern().number.value(), "^Assertion failed: Value of null taken");
}
