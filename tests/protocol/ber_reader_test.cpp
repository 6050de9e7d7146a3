#include "protocol/ber_reader.h"

#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/handshake.h"
#include "support/ber_driver.h"
#include "support/scripted_io.h"

using namespace protocol;
using old_protocol::BerReader;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Chunks = std::deque<Bytes>;

// A reader on a script.
struct Reading {
  explicit Reading(const Chunks& incoming = {}, const BerProtocol& catalogue = guiProtocol::instance())
      : reader(catalogue, std::make_unique<ScriptedIo>(script)) {
    script.incoming = incoming;
  }

  // All messages in the form that this program writes.
  std::string allHex() {
    while (!script.incoming.empty()) {
      reader.read();
    }
    std::string text;
    while (const auto message = reader.nextMessage()) {
      text += (text.empty() ? "" : " | ") + writtenHex(*message);
    }
    return text;
  }

  Script script;
  BerReader reader;
};

// In two pieces, or in single bytes.
Chunks cut(const Bytes& bytes, std::size_t place = 0) {
  if (place != 0) {
    const auto middle = bytes.begin() + static_cast<std::ptrdiff_t>(place);
    return {Bytes(bytes.begin(), middle), Bytes(middle, bytes.end())};
  }
  Chunks chunks;
  std::ranges::for_each(bytes, [&](std::uint8_t byte) { chunks.push_back({byte}); });
  return chunks;
}

#define OFFER "61 80 02 02 02 03 A0 80 00 00 00 00"
#define ACK "62 80 00 00"

TEST(BerReader, AcceptsEveryFormWhereverItIsCut) {
  const struct {
    const char *form, *input, *messages;
  } rows[] = {
      {"two in order", OFFER ACK, OFFER " | " ACK},
      {"padding between", "00 19" ACK "00 00 00 19" ACK "00", ACK " | " ACK},
      {"padding within", "61 80 19 02 02 02 03 19 19 A0 80 19 00 00 19 00 00", OFFER},
      {"padding counts", "61 07 19 02 02 02 03 A0 00" ACK, OFFER " | " ACK},
      {"definite and empty", "62 00 62 81 00", ACK " | " ACK},
      {"definite behind a primitive", "63 04 04 02 68 69 62 00", "63 80 04 02 68 69 00 00 | " ACK},
      {"definite behind a definite", "61 06 02 02 02 03 A0 00 62 00", OFFER " | " ACK},
      {"definite behind an end-of-contents", "61 08 02 02 02 03 A0 80 00 00 62 00", OFFER " | " ACK},
      {"definites ending together", "61 0A 02 02 02 03 A0 04 30 02 05 00 62 00", OFFER " | " ACK},
      {"end-of-contents in a definite", "61 7F 02 02 02 03 A0 00 00 00", OFFER},
      {"long lengths", "63 84 00 00 00 08 04 82 00 04 'hihi'", "63 80 04 04 68 69 68 69 00 00"},
      {"length bytes count", "61 09 02 81 02 02 03 A0 82 00 00 62 00", OFFER " | " ACK},
      {"empty primitive", "61 80 02 00 A0 00 00 00", "61 80 02 01 00 A0 80 00 00 00 00"},
      {"long form of a short tag", "7F 01 80 02 02 02 03 BF 00 80 00 00 00 00", OFFER},
      {"unknown fields",
       "61 80 02 02 02 03 A0 00 BF 81 01 80 04 01 41 30 04 02 02 05 00 00 00 1F 81 01 02 AA BB 00 00", OFFER},
      {"almost the legacy opening", "60 80 02 02 01 00 A0 80 00 00 00 00",
       "60 80 02 02 01 00 A0 80 00 00 00 00"},
  };
  for (const auto& row : rows) {
    const Bytes input = bytesOf(row.input);
    for (std::size_t place = 0; place < input.size(); ++place) {
      EXPECT_EQ(Reading(cut(input, place)).allHex(), row.messages) << row.form << ", cut at " << place;
    }
  }
}

TEST(BerReader, AgreesWithThePlainDecoder) {
  const Bytes input = bytesOf(
      "75 80 02 01 07 A0 80 30 80 30 80 04 04 'Node' 02 01 05 04 02 '1F' 04 03 'v12'"
      "30 80 30 0C 04 01 'n' 02 01 01 A0 04 04 02 'hi' 30 80 04 01 'r' 02 00 A4 80 09 04 00 '1.5' 00 00 00 "
      "00 00 00"
      "30 80 30 80 04 00 02 05 00 FF FF FF FF 04 00 04 00 30 00 30 00 31 06 02 01 07 02 01 07 00 00 00 00"
      "31 00 00 00 00 00 00 00 00 00");
  const auto expected = BerDriver(input).message();
  for (std::size_t place = 1; place < input.size(); ++place) {
    Reading reading, abandoned;
    for (const Bytes& chunk : cut(input, place)) {
      EXPECT_EQ(reading.reader.nextMessage(), nullptr);
      reading.reader.feed(chunk);
    }
    abandoned.reader.feed(std::span(input).first(place));
    const auto message = reading.reader.nextMessage();
    EXPECT_TRUE(message != nullptr && *message == *expected) << "cut at " << place;
  }
}

TEST(BerReader, RefusesWithReasonAndPlace) {
  const struct {
    const char *input, *text;
  } rows[] = {
      {"61 85", "Length field too long"},
      {"61 80 00 FF", "Length field nonzero after zero tag 255"},
      {"61 80 02 02 02 03 00 00", "Got to few fields of constructed value"},
      {"61 00", "Got to few fields of constructed value"},
      {"61 80 02 80", "Indefinite length on tag 16"},
      {"61 80 02 05", "Data value exceeds maximum allowed length 5 > 4"},
      {"61 80 02 03 01 00 00", "data out of range in BerIntegerTemplate<int>::readDone 0 <= 65536 <= 65535"},
      {"6E 80", "Unknown tag 115, BerReader: "},
      {"7F 81 01 00", "Unknown tag 1035, BerReader: "},
      {"7F FF FF FF FF FF FF 7F 00", "Unknown tag 4294967291, BerReader: "},
      {"61 80 04 00", "Tag mismatch, got 32 expected BE_INTEGER, BerReader: ServerOffers:1"},
      {"61 80 02 01 00 A4 80",
       "Unexpected tag 37 received in Union ServerOffers.this->authentication, BerReader: ServerOffers:2"},
      {"75 80 02 01 07 A0 80 30 80 30 80 04 00 04 00",
       "Tag mismatch, got 32 expected BE_INTEGER, BerReader: Response:2, SelectResp:1, ListOfObject:1, "
       "Object:2"},
      {"75 80 02 01 07 A0 80 30 80 30 00", "Got to few fields of constructed value"},
  };
  for (const auto& row : rows) {
    const Bytes input = bytesOf(row.input);
    EXPECT_EQ(textOf<EBer>([&] { Reading({input}).allHex(); }), row.text);
    EXPECT_EQ(textOf<EBer>([&] { Reading(cut(input)).allHex(); }), row.text);
  }
}

TEST(BerReader, SpeaksLegacyWithAPeerThatOpensSo) {
  Reading legacy(cut(bytesOf("60 80 02 02 01 00 61 80 16 01 41 16 00 16 00 01 01 01 00 00 00 00")));
  for (int i = 1; i <= 8; ++i) {
    EXPECT_FALSE(legacy.reader.legacy());
    legacy.reader.read();
  }
  EXPECT_TRUE(legacy.reader.legacy());
  EXPECT_EQ(legacy.allHex(),
            "60 80 02 02 01 00 A1 80 04 01 41 04 00 04 00 01 01 01 01 01 00 01 01 00 00 00 00 00");
  NegotiateNack nack;
  legacy.reader.send(nack);
  std::string sent;
  for (const std::string& piece : legacy.script.written) {
    sent += piece + " ";
  }
  EXPECT_EQ(plainHex(sent), "63 80 16 00 00 00");
  EXPECT_EQ(legacy.script.calls.back(), 'f');
}

TEST(BerReader, DeliversFinishedMessagesBeforeAFailureOfTheStream) {
  Reading reading({bytesOf(OFFER)});
  EXPECT_EQ(reading.reader.nextMessage(), nullptr);
  EXPECT_EQ(reading.script.calls, "") << "asking for a message reads nothing";
  reading.reader.read();
  reading.reader.read();
  reading.reader.read();
  EXPECT_EQ(reading.script.calls, "rrr") << "8 bytes, the others, the end";
  EXPECT_EQ(reading.allHex(), OFFER);
  EXPECT_EQ(textOf<error::ESystemError>([&] { reading.reader.read(); }), "the peer has hung up");
  EXPECT_EQ(textOf<error::ESystemError>([&] { Reading().reader.read(); }), "the peer has hung up");
  EXPECT_EQ(textOf<EBer>([&] { Reading({bytesOf(OFFER "61 85")}).allHex(); }), "Length field too long");
}

// Values that no message of the product has.
template <class Base, std::uint32_t kTag>
struct Odd : Base {
  using Base::Base;
  std::unique_ptr<BerValue> clone() const override { return nullptr; }
  std::uint32_t tag(bool) const override { return kTag; }
  bool equals(const BerValue&) const override { return false; }
  bool less(const BerValue&) const override { return false; }
  bool greater(const BerValue&) const override { return false; }
  void write(BasicIo&, bool) const override {}
};
struct OddPrimitive final : Odd<BerPrimitive, 16> {
  explicit OddPrimitive(std::string& written) : Odd(true), log(written) {}
  ~OddPrimitive() override { log += "gone"; }
  void setLength(std::uint64_t length) override { log += std::to_string(length) + ": "; }
  void addData(const std::uint8_t*, std::size_t count) override { log += std::to_string(count) + " "; }
  void readDone() override { log += "done "; }
  std::string& log;
};
struct OddCatalogue final : BerProtocol {
  std::unique_ptr<BerValue> makeMessage(std::uint32_t tag, bool) const override {
    if (tag == 16) {
      return std::make_unique<OddPrimitive>(log);
    }
    return std::make_unique<Odd<BerValue, 72>>();
  }
  mutable std::string log;
};

TEST(BerReader, HandsContentOverAsItComes) {
  const OddCatalogue oddities;
  Reading reading({}, oddities);
  reading.reader.feed(bytesOf("02 05 01 02"));
  reading.reader.feed(bytesOf("03 04 05"));
  EXPECT_EQ(oddities.log, "5: 2 3 done gone");
  EXPECT_EQ(reading.reader.nextMessage(), nullptr) << "a message is a constructed value";
}

TEST(BerReaderDeathTest, DefectsOfValuesAreCaught) {
  const OddCatalogue oddities;
  const auto feed = [&](const char* hex) { Reading({}, oddities).reader.feed(bytesOf(hex)); };
  EXPECT_DEATH(feed("61 80"),
               "Assertion failed: Internal server error, tag mismatch 72 != 11 at top level\n");
  EXPECT_DEATH(feed("09 00"), "Assertion failed: Value neither BerPrimitive nor BerConstructed\n");
}

TEST(BerReader, NestsWithoutLimit) {
  const struct {
    const char *start, *level, *levelEnd, *end;
  } rows[] = {
      {"75 80 02 01 00 A0 80 30 80", "30 80 04 00 02 00 04 00 04 00 30 00 30 80", "00 00 31 00 00 00",
       "00 00 00 00 00 00"},
      {"61 80 02 00 A0 80", "30 80", "00 00", "00 00 00 00"},  // fields that nobody knows
  };
  for (const auto& row : rows) {
    Reading whole, half;
    const auto feed = [](BerReader& reader, const Bytes& bytes, int times) {
      for (; times > 0; --times) {
        reader.feed(bytes);
      }
    };
    for (BerReader* reader : {&whole.reader, &half.reader}) {
      feed(*reader, bytesOf(row.start), 1);
      feed(*reader, bytesOf(row.level), 200000);
    }
    feed(whole.reader, bytesOf(row.levelEnd), 200000);
    feed(whole.reader, bytesOf(row.end), 1);
    EXPECT_NE(whole.reader.nextMessage(), nullptr);
  }
}

}  // namespace
