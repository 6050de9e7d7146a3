#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "protocol/ber_error.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/handshake.h"
#include "support/ber_driver.h"
#include "support/wire.h"

using namespace protocol;

namespace {

using Made = std::shared_ptr<const BerValue>;

std::unique_ptr<BerValue> read(std::string_view hex, bool legacy = false) {
  const auto input = bytesOf(hex);
  BerDriver driver(input, legacy);
  auto message = driver.message();
  EXPECT_TRUE(driver.atEnd()) << hex;
  return message;
}

template <class T, class Fill>
Made made(Fill fill) {
  auto message = std::make_shared<T>();
  fill(*message);
  return message;
}

template <class Alternative, class Fill>
Made request(std::int32_t number, Fill fill) {
  return made<Request>([&](Request& message) {
    message.requestId = number;
    fill(message.req.template emplace<Alternative>());
  });
}

template <class Alternative, class Fill>
Made response(std::int32_t number, Fill fill) {
  return made<Response>([&](Response& message) {
    message.requestId = number;
    fill(message.resp.template emplace<Alternative>());
  });
}

template <class Data>
Owned<Property> property(std::string name, std::uint32_t typeWord, std::function<void(Data&)> fill = {}) {
  auto made = std::make_unique<Property>();
  made->name = std::move(name);
  made->typeWord = typeWord;
  Data& data = made->data.emplace<Data>();
  if (fill) {
    fill(data);
  }
  return made;
}

struct Sample {
  const char* name;
  Made message;
  std::string current, legacy;  // an empty legacy is the same as current
};

void fillPattern(SelectReq& request) {
  request.startIds = {"B", "A", "B"};
  PathPattern& pattern = request.pattern.emplace();
  pattern.className = "Node";
  PathPattern& child = pattern.children.emplace_back().emplace();
  child.number = 0;
  RelativeExpr& term = pattern.filter.emplace_back().emplace();
  term.prop = property<SignedIntProp>("p", 3, [](SignedIntProp& data) { data.value = -1; });
  term.op = RelOperator::greater;
  pattern.properties = {"q"};
}

void fillObjects(SelectResp& answer) {
  Object& object = answer.objects.emplace_back().emplace();
  object.className = "N";
  object.objectNumber = 255;
  object.id = "1";
  object.version = "v";
  object.objectSet = {1, 1};
  object.children.emplace_back().emplace();
  ListOfProperty& list = object.properties;
  list.push_back(property<StringProp>("s", 0, [](StringProp& data) { data.value = "x"; }));
  list.push_back(property<StringListProp>("", 0, [](StringListProp& data) { data.value = {"a", ""}; }));
  list.push_back(property<UnsignedIntProp>("", 0, [](UnsignedIntProp& data) { data.value = 128; }));
  list.push_back(property<RealProp>("", 0, [](RealProp& data) { data.value = 2; }));
  list.push_back(property<BooleanProp>("", 0, [](BooleanProp& data) { data.value = true; }));
  list.push_back(property<NullProp>("", 0));
  list.push_back(property<BlobProp>("", 0, [](BlobProp& data) { data.value = "b"; }));
  list.push_back(property<UnsignedIntListProp>("", 0, [](UnsignedIntListProp& data) { data.value = {9}; }));
  list.push_back(property<SignedInt64Prop>("", 0, [](SignedInt64Prop& data) { data.value = -1; }));
  list.push_back(property<UnsignedInt64Prop>("", 0, [](UnsignedInt64Prop& data) { data.value = 1; }));
  list.push_back(property<BigNumProp>("", 0, [](BigNumProp& data) { data.value = 255; }));
  list.push_back(property<LobProp>("", 0, [](LobProp& data) { data.value = "l"; }));
}

std::vector<Sample> samples() {
  const std::string prop = "30 80 04 00 02 01 00 ";
  return {
      {"EmptyAlternative", made<ClientWants>([](ClientWants& message) {
         message.version = 515;
         message.authentication.emplace<ClientNoAuth>();
       }),
       "60 80 02 02 02 03 A0 80 00 00 00 00", "60 80 02 02 02 03 60 80 00 00 00 00"},
      {"AllRequired", made<NewSessionResp>([](NewSessionResp& message) {
         message.sessionKey = 255;
         message.serverTime = 1600000000;
         message.rootId = "1F";
       }),
       "71 80 02 01 FF 02 04 5F 5E 10 00 04 02 '1F' 04 00 04 00 00 00",
       "71 80 02 01 FF 02 04 5F 5E 10 00 16 02 '1F' 16 00 16 00 00 00"},
      {"Request",
       request<GetLastDataReq>(7,
                               [](GetLastDataReq& data) {
                                 data.objectId = "1F";
                                 data.tableName = "tsdbIndex";
                               }),
       "74 80 02 01 07 A8 80 04 02 31 46 04 09 74 73 64 62 49 6E 64 65 78 00 00 00 00",
       "74 80 02 01 07 68 80 16 02 31 46 16 09 74 73 64 62 49 6E 64 65 78 00 00 00 00"},
      {"Pattern", request<SelectReq>(1, fillPattern),
       "74 80 02 01 01 A0 80 31 80 04 01 'B' 04 01 'A' 04 01 'B' 00 00"
       "30 80 04 04 'Node' 02 01 00 05 00"
       "30 80 30 80 04 00 02 01 00 02 01 00 30 80 00 00 30 80 00 00 30 80 00 00 31 80 00 00 00 00 00 00"
       "30 80 00 00 30 80 30 80 30 80 04 01 'p' 02 01 03 A2 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "31 80 04 01 'q' 00 00 00 00 02 01 00 00 00 00 00",
       "74 80 02 01 01 60 80 21 80 16 01 'B' 16 01 'A' 16 01 'B' 00 00"
       "20 80 16 04 'Node' 02 01 00 05 00"
       "20 80 20 80 16 00 02 01 00 02 01 00 20 80 00 00 20 80 00 00 20 80 00 00 21 80 00 00 00 00 00 00"
       "20 80 00 00 20 80 20 80 20 80 16 01 'p' 02 01 03 62 80 02 01 FF 00 00 00 00 0A 01 01 00 00 00 00"
       "21 80 16 01 'q' 00 00 00 00 02 01 00 00 00 00 00"},
      {"Objects", response<SelectResp>(2, fillObjects),
       "75 80 02 01 02 A0 80 30 80 30 80 04 01 'N' 02 02 00 FF 04 01 '1' 04 01 'v' 30 80"
       "30 80 04 01 's' 02 01 00 A0 80 04 01 'x' 00 00 00 00" +
           prop + "A1 80 30 80 04 01 'a' 04 00 00 00 00 00 00 00" + prop + "A3 80 02 02 00 80 00 00 00 00" +
           prop + "A4 80 09 0D 00 '2.000000e+00' 00 00 00 00" + prop + "A5 80 01 01 01 00 00 00 00" + prop +
           "A6 80 00 00 00 00" + prop + "A7 80 04 01 'b' 00 00 00 00" + prop +
           "A8 80 30 80 02 01 09 00 00 00 00 00 00" + prop + "A9 80 02 01 FF 00 00 00 00" + prop +
           "AA 80 02 01 01 00 00 00 00" + prop + "AB 80 02 01 FF 00 00 00 00" + prop +
           "AC 80 04 01 'l' 00 00 00 00 00 00"
           "30 80 30 80 04 00 02 01 00 04 00 04 00 30 80 00 00 30 80 00 00 31 80 00 00 00 00 00 00"
           "31 80 02 01 01 02 01 01 00 00 00 00 00 00 00 00 00 00",
       ""},
      {"Intervals",
       response<GetDataResp>(
           3,
           [](GetDataResp& data) {
             data.dataType = 17;
             auto& incident = data.intervals.emplace_back().emplace();
             incident.data.emplace<DataIntervalIncident>().text = "up";
             auto& reals =
                 data.intervals.emplace_back().emplace().data.emplace<DataIntervalContinuousDEPRECATED>();
             reals.values = {0, 1};
           }),
       "75 80 02 01 03 A6 80 02 01 11 30 80 30 80 A1 80 02 01 00 0A 00 04 02 'up' 00 00 00 00"
       "30 80 A2 80 02 01 00 02 01 00 09 00 09 00 30 80 09 00 09 0D 00 '1.000000e+00' 00 00 00 00 00 00"
       "00 00 00 00 00 00",
       ""},
      {"Error",
       response<ErrorResp>(4,
                           [](ErrorResp& data) {
                             data.code = 3;
                             data.args = {"7"};
                           }),
       "75 80 02 01 04 A8 80 02 01 03 30 80 04 01 '7' 00 00 00 00 00 00", ""},
  };
}

}  // namespace

TEST(Messages, HaveTheseBytes) {
  for (const Sample& sample : samples()) {
    EXPECT_EQ(writtenHex(*sample.message), plainHex(sample.current)) << sample.name;
    EXPECT_TRUE(*read(sample.current) == *sample.message) << sample.name;
    if (!sample.legacy.empty()) {
      EXPECT_EQ(writtenHex(*sample.message, true), plainHex(sample.legacy)) << sample.name;
      EXPECT_TRUE(*read(sample.legacy, true) == *sample.message) << sample.name;
    }
  }
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
    EXPECT_EQ(writtenHex(*read(row.read)), plainHex(row.written)) << row.read;
  }
}

// Each row ends with the tag that is refused, or the content.
TEST(Messages, RefuseWhatDoesNotFit) {
  const struct {
    const char* hex;
    const char* text;
  } rows[] = {
      {"60 80 04 00", "Tag mismatch, got 32 expected BE_INTEGER"},
      {"70 80 16 00", "Tag mismatch, got 176 expected BE_STRING_CURRENT"},
      {"60 80 02 03 01 00 00", "data out of range in BerIntegerTemplate<int>::readDone 0 <= 65536 <= 65535"},
      {"77 80 02 00 02 03 0F 42 40",
       "data out of range in BerIntegerTemplate<int>::readDone 0 <= 1000000 <= 999999"},
      {"70 80 04 82 04 01", "String exceeds allowed length 1025 > 1024"},
      {"70 80 04 00 04 81 81", "String exceeds allowed length 129 > 128"},
      {"60 80 02 00 A4", "Unexpected tag 37 received in Union ClientWants.this->authentication"},
      {"74 80 02 00 A4", "Unexpected tag 37 received in Union Request.this->req"},
      {"75 80 02 00 AB", "Unexpected tag 93 received in Union Response.this->resp"},
      {"75 80 02 00 A0 80 31", "Tag mismatch, got 137 expected BE_SEQ_CURRENT"},
      {"75 80 02 00 A0 80 30 80 02", "Tag mismatch, got 16 expected BE_OBJECT_CURRENT"},
      {"74 80 02 00 A0 80 30", "Tag mismatch, got 129 expected BE_SET_CURRENT"},
      {"74 80 02 00 A0 80 31 80 02", "Tag mismatch, got 16 expected BE_STRING_CURRENT"},
      {"74 80 02 00 A0 80 31 00 31", "Tag mismatch, got 137 expected BE_PATH_PATTERN_CURRENT"},
      {"74 80 02 00 A0 80 31 00 30 80 04 00 02 00 04", "Tag mismatch, got 32 expected BE_INTEGER"},
      {"74 80 02 00 A9 80 02 00 30 80 30 80 04 00 02 00 AD",
       "Unexpected tag 109 received in Union Property.this->data"},
      {"75 80 02 00 A6 80 02 01 12", "data out of range in BerIntegerTemplate<int>::readDone 0 <= 18 <= 17"},
      {"75 80 02 00 A6 80 02 00 30 80 30 80 A1 80 02 00 02", "Tag mismatch, got 16 expected BE_ENUMERATED"},
      {"75 80 02 00 A9 80 02 00 02", "Tag mismatch, got 16 expected BE_DATA_INTERVAL_CURRENT"},
      {"75 80 02 00 00 00", "Got to few fields of constructed value"},
      {"75 80 02 00 A0 80 30 80 30 80 04 00 02 00 04 00 04 00 30 00 30 00 00 00",
       "Got to few fields of constructed value"},
  };
  for (const auto& row : rows) {
    const std::string text = textOf<EBer>([&] { read(std::string(row.hex) + "00"); });
    EXPECT_EQ(text, row.text) << row.hex;
  }
  EXPECT_EQ(textOf<EBer>([] { read("70 80 04 00", true); }),
            "Tag mismatch, got 32 expected BE_STRING_LEGACY");
  EXPECT_EQ(textOf<EBer>([] { read("75 80 02 00 60 80 20 80 31 00", true); }),
            "Tag mismatch, got 137 expected BE_OBJECT_LEGACY");
}

TEST(Messages, WriteNothingOfARefusedField) {
  const auto refused = request<GetDataReq>(1, [](GetDataReq& data) { data.number1 = 2001; });
  MemoryIo io;
  EXPECT_EQ(textOf<EBer>([&] { refused->write(io, false); }),
            "data out of range in BerIntegerTemplate<int>::write 0 <= 2001 <= 2000");
  EXPECT_EQ(hexOf(io.bytes), "74 80 02 01 01 A6 80 04 00 04 00 01 01 00 02 01 00 02 01 00");
}

TEST(Messages, HoldPlainValuesOfFourTypes) {
  const std::string head = "30 80 02 01 05 04 00 0A 00 30 80 04 01 't' 00 00 ";
  for (const std::string value : {"02 01 07", "04 02 'hi'", "05 00", "09 0D 00 '2.500000e+00'"}) {
    const auto input = bytesOf(head + value + "00 00");
    CheckResult result;
    BerDriver(input).fill(result);
    EXPECT_EQ(writtenHex(result), plainHex(head + value + "04 00 00 00"));
    EXPECT_TRUE(result == *result.clone());
  }
  CheckResult result;
  const auto boolean = bytesOf(head + "01 00");
  EXPECT_EQ(textOf<EBer>([&] { BerDriver(boolean).fill(result); }),
            "Unexpected tag 8 received in Union CheckResult.this->value");
  result.value.emplace<BerReal>().value() = 2.5;
  EXPECT_EQ(result.value.as<BerReal>()->value(), 2.5);
  EXPECT_EQ(result.value.as<BerString>(), nullptr);
}

TEST(MessagesDeathTest, WantTheirUnionsSet) {
  MemoryIo io;
  EXPECT_DEATH(SelectReq().write(io, false), "^Assertion failed: this->pattern is NULL during BER write");
  EXPECT_DEATH(RelativeExpr().write(io, false), "^Assertion failed: this->prop is NULL during BER write");
  EXPECT_DEATH(GetLastDataResp().write(io, false), "^Assertion failed: this->data is NULL during BER write");
  SelectResp answer;
  answer.objects.emplace_back();
  EXPECT_DEATH(answer.write(io, false), "^Assertion failed: \\(\\*it\\) is NULL during BER write");
  EXPECT_DEATH((void)PathPattern().number.value(), "^Assertion failed: Value of null taken");
}
