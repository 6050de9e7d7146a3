#include "session/connection.h"

#include <gtest/gtest.h>

#include "protocol/messages/envelope.h"
#include "session/scripted_server.h"

using namespace morvex;

using State = comquery::Request::State;

namespace {

using Written = std::vector<std::string>;
std::string g_log;  // what happened to requests, in order

struct Probe final : comquery::Request {
  explicit Probe(std::string probeName) : name(std::move(probeName)) {}
  ~Probe() override { g_log += "-" + name + " "; }
  std::unique_ptr<protocol::Record> encode() override {
    auto payload = std::make_unique<protocol::GetLastDataReq>();
    payload->objectId = name;
    return payload;
  }
  void decode(protocol::Record& response) override {
    g_log += name + " ";
    if (const auto* refusal = dynamic_cast<const protocol::ErrorResp*>(&response)) {
      setErrorCode(static_cast<std::uint32_t>(refusal->code));
    } else if (dynamic_cast<const protocol::PutDataResp*>(&response) == nullptr) {
      throw errors::bererror("decode refuses");
    }
  }
  void finished(Connection& connection) override { connection.forget(*this); }
  std::string name;
};

std::string requestHex(const char* id, const char* name) {
  return plainHex("74 80 02 " + std::string(id) + " A8 80 04 01 '" + name + "' 04 00 00 00 00 00");
}

struct ConnectionTest : testing::Test {
  ConnectionTest() {
    sessionRequestCounters.clear();
    connect();
    g_log.clear();
  }
  void connect() {
    server.sends(kOffer);
    server.sends(kSession);
    connection = server.logIn();
    server.takeWritten();
  }
  Written post(Probe& probe) {
    connection->post(probe);
    return server.takeWritten();
  }

  ScriptedServer server;
  std::unique_ptr<Connection> connection;
  comquery::Held<Probe> a = comquery::make<Probe>("a");
  comquery::Held<Probe> b = comquery::make<Probe>("b");
};

TEST_F(ConnectionTest, OpensInTwoWritesWithTheKeyOfTheReply) {
  EXPECT_TRUE(connection->sessionKey() == BigNum(0x1122));
  server.sends(kOffer);
  server.sends("71 80 02 01 07 02 00 04 00 04 00 04 00 00 00");
  EXPECT_TRUE(server.reopen()->sessionKey() == BigNum(7));
  EXPECT_EQ(server.takeWritten(), (Written{plainHex("60 80 02 02 02 03 A0 80 00 00 00 00"),
                                           plainHex("62 80 00 00 72 80 02 01 80 00 00")}));
}

TEST_F(ConnectionTest, NumbersRequestsThroughoutTheSession) {
  EXPECT_EQ(a->state(), State::created);
  EXPECT_EQ(post(*a), Written{requestHex("01 00", "a")});
  EXPECT_EQ(a->state(), State::sent);
  EXPECT_EQ(post(*b), Written{requestHex("01 01", "b")});
  connect();  // the same session
  EXPECT_EQ(a->references(), 1) << "the first connection has let go";
  EXPECT_EQ(post(*a), Written{requestHex("01 02", "a")});
  // Behind the last number they start over, past those under way.
  sessionRequestCounters[connection->sessionKey()] = 0x7FFFFFFF;
  EXPECT_EQ(post(*b), Written{requestHex("04 7F FF FF FF", "b")});
  sessionRequestCounters[connection->sessionKey()] += 2;
  const auto c = comquery::make<Probe>("c");
  EXPECT_EQ(post(*c), Written{requestHex("01 03", "c")});
}

TEST_F(ConnectionTest, HandlesAnswersInTheOrderOfTheirArrival) {
  EXPECT_EQ(connection->await(*a), 0U) << "never posted";
  post(*a);
  post(*b);
  {
    const auto c = comquery::make<Probe>("c");
    post(*c);
  }
  server.sends("75 80 02 01 63 A7 80 00 00 00 00");  // nobody asked
  server.sends("75 80 02 01 02 A7 80 00 00 00 00 75 80 02 01 01 A8 80 02 01 02 30 80 00 00 00 00 00 00");
  server.sends("75 80 02 01 00 A7 80 00 00 00 00");
  EXPECT_EQ(connection->await(*a), 0U);
  EXPECT_EQ(g_log, "c -c b a ") << "nobody else held c";
  EXPECT_EQ(connection->await(*b), 2U);  // the script is at its end
  EXPECT_EQ(a->state(), State::answered);
  EXPECT_EQ(a->references(), 1);
}

TEST_F(ConnectionTest, AFailedPostLeavesNoTrace) {
  a->name = std::string(33, 'a');
  EXPECT_EQ(textOf<error::EParseError>([&] { connection->post(*a); }),
            "String exceeds allowed length 33 > 32");
  EXPECT_EQ(a->state(), State::created);
  EXPECT_EQ(a->references(), 1);
  EXPECT_EQ(connection->await(*a), 0U);
}

TEST_F(ConnectionTest, KeepsARequestWhoseAnswerMakesNoSense) {
  post(*a);
  server.sends("75 80 02 01 00 A5 80 00 00 00 00");
  EXPECT_EQ(textOf<errors::bererror>([&] { connection->await(*a); }), "decode refuses");
  EXPECT_EQ(a->state(), State::answered);
  EXPECT_EQ(a->references(), 2);
}

TEST_F(ConnectionTest, MisuseIsADefect) {
  EXPECT_DEATH(connection->forget(*a), "Assertion failed: forget called with unknown request\n");
  post(*a);
  EXPECT_DEATH(connection->post(*a), "Assertion failed: post called with registered request\n");
}

}  // namespace
