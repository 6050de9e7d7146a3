#include "protocol/ber_reader.h"

#include <gtest/gtest.h>

#include "protocol/messages/handshake.h"
#include "support/reading.h"

using namespace morvex;
using namespace protocol;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Chunks = std::deque<Bytes>;

// All messages in the form that this program writes.
std::string allHex(Reading&& reading) {
  MemoryIo io;
  for (const auto& message : reading.messages()) {
    message->write(io, false);
  }
  return hexOf(io.bytes);
}

// In two pieces, the first of this size, or in single bytes if it is 0.
Chunks cut(const Bytes& bytes, std::size_t first = 0) {
  Chunks chunks;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 0 || i == first || first == 0) {
      chunks.emplace_back();
    }
    chunks.back().push_back(bytes[i]);
  }
  return chunks;
}

#define OFFER "61 80 02 02 02 03 A0 80 00 00 00 00"
#define ACK "62 80 00 00"

TEST(BerReader, AcceptsEveryFormWhereverItIsCut) {
  const struct {
    std::string form, input, messages;
  } rows[] = {
      {"padding between", "00 19" ACK "00 00 00 19" ACK "00", ACK ACK},
      {"padding within", "61 80 19 02 02 02 03 19 19 A0 80 19 00 00 19 00 00", OFFER},
      {"padding counts", "61 07 19 02 02 02 03 A0 00" ACK, OFFER ACK},
      {"padding to the end of a definite", "61 07 02 02 02 03 A0 00 19", OFFER},
      {"a child beyond the end of a definite", "61 03 02 02 02 03 19 A0 80 00 00 00 00", OFFER},
      {"zeros ahead of a long tag", "7F" + deep("80", 70000) + "01 80 02 02 02 03 A0 80 00 00 00 00" ACK,
       OFFER ACK},
      {"definite and empty", "62 00 62 81 00", ACK ACK},
      {"definite behind a primitive", "63 04 04 02 68 69 62 00", "63 80 04 02 68 69 00 00" ACK},
      {"definite behind a definite", "61 06 02 02 02 03 A0 00 62 00", OFFER ACK},
      {"definite behind an end-of-contents", "61 08 02 02 02 03 A0 80 00 00 62 00", OFFER ACK},
      {"definite to the last end-of-contents", "61 08 02 02 02 03 A0 80 00 00", OFFER},
      {"definites ending together", "61 0A 02 02 02 03 A0 04 30 02 05 00 62 00", OFFER ACK},
      {"end-of-contents in a definite", "61 7F 02 02 02 03 A0 00 00 00", OFFER},
      {"long lengths", "63 84 00 00 00 08 04 82 00 04 'hihi'", "63 80 04 04 68 69 68 69 00 00"},
      {"length bytes count", "61 09 02 81 02 02 03 A0 82 00 00 62 00", OFFER ACK},
      {"empty primitive", "61 80 02 00 A0 00 00 00", "61 80 02 01 00 A0 80 00 00 00 00"},
      {"long form of a short tag", "7F 01 80 02 02 02 03 BF 00 80 00 00 00 00", OFFER},
      {"unknown fields",
       "61 80 02 02 02 03 A0 00 BF 81 01 80 04 01 41 30 04 02 02 05 00 00 00 1F 81 01 02 AA BB 00 00", OFFER},
      {"plain fields behind the end of a definite",
       "75 80 02 01 00 A6 80 02 01 01 30 80 30 80 A5 08 02 01 01 02 01 02 09 00 09 02 00 '7' 00 00 00 00 00 "
       "00 00 00",
       "75 80 02 01 00 A6 80 02 01 01 30 80 30 80 A5 80 02 01 01 02 01 02 09 00 09 00 09 00 02 01 00 02 01 "
       "00 00 00"
       "00 00 00 00 00 00 00 00"},
      {"a longer form behind plain fields",
       "75 80 02 01 00 A6 80 02 01 01 30 80 30 80 A5 10 02 01 01 02 01 02 09 00 09 00 09 00 02 81 01 07 "
       "00 00 00 00 00 00 00 00",
       "75 80 02 01 00 A6 80 02 01 01 30 80 30 80 A5 80 02 01 01 02 01 02 09 00 09 00 09 00 02 01 07 02 01 "
       "00 00 00 00 00 00 00 00 00 00 00"},
      {"almost the legacy opening", "60 80 02 02 01 00 A0 80 00 00 00 00",
       "60 80 02 02 01 00 A0 80 00 00 00 00"},
  };
  for (const auto& row : rows) {
    const Bytes input = bytesOf(row.input);
    const std::size_t step = input.size() > 1000 ? 9973 : 1;
    for (std::size_t place = 0; place < input.size(); place += step) {
      EXPECT_EQ(allHex(Reading(cut(input, place))), plainHex(row.messages))
          << row.form << ", cut at " << place;
      Reading abandoned;
      abandoned.reader.feed(std::span(input).first(place));
    }
  }
}

// The test of the catalogue has what every class refuses.
TEST(BerReader, RefusesWithReasonAndPlace) {
  const struct {
    const char *input, *text;
  } rows[] = {
      {OFFER "61 85", "Length field too long"},
      {"61 80 00 01", "Length field nonzero after zero tag 1"},
      {"75 80 02 01 00 A6 80 02 01 01 30 80 30 80 A5 80 02 01 01 02 01 02 09 00 00 01",
       "Length field nonzero after zero tag 1"},
      {"61 00", "Got to few fields of constructed value"},
      {"74 80 02 01 00 A9 80 02 01 01 30 80 30 80 04 00 02 01 05 00 00",
       "Got to few fields of constructed value"},
      {"61 80 02 80", "Indefinite length on tag 16"},
      {"74 80 02 00 A9 80 02 00 30 80 30 80 04 00 02 00 AD 80",
       "Unexpected tag 109 received in Union Property.this->data, BerReader: Request:2, CallReq:2, "
       "ListOfProperty:1, Property:3"},
      {"6E 80", "Unknown tag 115, BerReader: "},
      {"7F FF FF FF FF FF FF 7F 00", "Unknown tag 4294967291, BerReader: "},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(outcomeOf(row.input, false, guiProtocol::instance()).refusal, row.text);
  }
}

TEST(BerReader, SpeaksLegacyWithAPeerThatOpensSo) {
  Reading legacy(cut(bytesOf("60 80 02 02 01 00 61 80 16 01 41 16 00 16 00 01 01 01 00 00 00 00")));
  for (int i = 1; i <= 8; ++i) {
    EXPECT_FALSE(legacy.reader.legacy());
    legacy.reader.read();
  }
  EXPECT_TRUE(legacy.reader.legacy());
  EXPECT_EQ(writtenHex(*legacy.messages().at(0)),
            "60 80 02 02 01 00 A1 80 04 01 41 04 00 04 00 01 01 01 01 01 00 01 01 00 00 00 00 00");
  legacy.reader.send(NegotiateNack());
  EXPECT_EQ(legacy.script.written, (std::vector<std::string>{"63 80 16 00 00 00"}));
  EXPECT_EQ(legacy.script.calls.back(), 'f');
}

TEST(BerReader, DeliversFinishedMessagesBeforeAFailureOfTheStream) {
  Reading reading({bytesOf(OFFER)});
  EXPECT_EQ(reading.reader.nextMessage(), nullptr);
  EXPECT_EQ(reading.script.calls, "") << "asking for a message reads nothing";
  for (int i = 1; i <= 3; ++i) {  // 8 bytes, the others, the end
    reading.reader.read();
  }
  EXPECT_NE(reading.reader.nextMessage(), nullptr);
  EXPECT_EQ(reading.script.calls, "rrr");
  EXPECT_EQ(textOf<error::ESystemError>([&] { reading.reader.read(); }), "the peer has hung up");
}

}  // namespace
