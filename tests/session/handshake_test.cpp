#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "session/scripted_server.h"

namespace {

using Written = std::vector<std::string>;
constexpr const char* kWants = "60 80 02 02 02 03 A0 80 00 00 00 00";
constexpr const char* kAck = "62 80 00 00";

TEST(Handshake, LogsInStepByStep) {
  ScriptedServer server;
  server.sends(kOffer);
  server.sends(kSession);
  const auto connection = server.logIn();
  EXPECT_EQ(server.address, "host:3241");
  EXPECT_EQ(server.takeWritten(),
            (Written{kWants, kAck, plainHex("70 80 04 01 'd' 04 02 'li' 04 02 'cn' 04 02 'pw' 00 00")}));
  EXPECT_EQ(server.script.calls, "wfrwfwfr");
  EXPECT_EQ(connection->rootObjectId(), "1F");
  EXPECT_TRUE(connection->sessionKey() == BigNum(0x1122));
}

TEST(Handshake, ReopensByKeyAndTakesTheOneOfTheReply) {
  ScriptedServer server;
  server.sends("61 80 02 02 02 FF A0 80 00 00 00 00");  // any minor version will do
  server.sends("71 80 02 01 07 02 00 04 00 04 00 04 00 00 00");
  const auto connection = server.reopen();
  EXPECT_EQ(server.takeWritten(), (Written{kWants, kAck, "72 80 02 01 80 00 00"}));
  EXPECT_EQ(connection->rootObjectId(), "");
  EXPECT_TRUE(connection->sessionKey() == BigNum(7));
}

TEST(Handshake, NegotiationFailsWithItsReason) {
  const std::string version = "Server does not support our version of the protocol";
  const struct {
    const char* answer;
    std::string text;
  } rows[] = {
      {"61 80 02 02 01 00 A0 80 00 00 00 00", version},
      {"61 80 02 02 03 00 A0 80 00 00 00 00", version},
      {"61 80 02 02 02 03 A2 80 00 00 00 00", version},  // wants a password
      {"63 80 04 04 'full' 00 00", "Server rejected us: full"},
      {"62 80 00 00", "Protocol error: Wrong type"},
  };
  for (const auto& row : rows) {
    ScriptedServer server;
    server.sends(row.answer);
    EXPECT_EQ(textOf<errors::connect_error>([&] { server.logIn(); }), row.text);
    EXPECT_EQ(server.takeWritten(), Written{kWants}) << "nothing more is sent";
  }
  // What is wrong with the stream or with its bytes is told as it is.
  ScriptedServer server;
  EXPECT_EQ(textOf<error::ESystemError>([&] { server.logIn(); }), "the peer has hung up");
  server.sends("61 85");
  EXPECT_EQ(textOf<protocol::EBer>([&] { server.reopen(); }), "Length field too long");
}

TEST(Handshake, AnyFailureBehindTheNegotiationIsARefusal) {
  for (const char* answer : {kOffer, "63 80 04 04 'full' 00 00", "61 85", "71 80 02 01 07 00 00", "71"}) {
    for (const bool reopens : {false, true}) {
      ScriptedServer server;
      server.sends(kOffer);
      server.sends(answer);
      EXPECT_EQ(textOf<errors::connect_error>([&] { reopens ? server.reopen() : server.logIn(); }),
                reopens ? "Session expired" : "Wrong username / password");
    }
  }
  ScriptedServer server;
  server.sends(kOffer);
  EXPECT_EQ(textOf<errors::connect_error>([&] { server.logIn(std::string(129, 'l')); }),
            "Wrong username / password");
  EXPECT_EQ(server.takeWritten(), (Written{kWants, kAck}));
}

}  // namespace
