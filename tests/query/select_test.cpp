#include "query/select.h"

#include <gtest/gtest.h>

#include "foundation/errors.h"
#include "session/scripted_server.h"

using namespace morvex;

namespace {

using tqlquery::Select;

struct Recorder : Select {
  using Select::Select;
  void onSuccess() override { heard += "success " + std::to_string(errorCode()) + ";"; }
  void onError(std::uint32_t code, const protocol::ListOfString1024& texts) override {
    heard += "error " + std::to_string(code) + std::to_string(errorCode()) + texts.at(0) + ";";
  }
  std::string heard;
};

protocol::SelectResp answerWith(std::initializer_list<const char*> ids) {
  protocol::SelectResp answer;
  for (const char* id : ids) {
    protocol::Object& object = answer.objects.emplace_back().emplace();
    object.id = id;
    object.objectNumber = static_cast<std::uint32_t>(answer.objects.size());
  }
  return answer;
}

TEST(Select, KeepsTheNewestAnswer) {
  const auto select = comquery::make<Recorder>("42", "Domain", 0U);
  EXPECT_EQ(select->describe(), "[\"42\"] Domain");
  EXPECT_EQ(textOf<errors::selecterror>([&] { select->find_result_opt("42"); }),
            "find_result_opt() invoked before await() for query \"Domain\"");
  select->setState(Select::State::answered);
  auto answer = answerWith({"42", "43", "42"});
  select->decode(answer);
  protocol::ErrorResp refusal;
  refusal.code = 2;
  refusal.args = {" why"};
  select->decode(refusal);
  EXPECT_EQ(select->find_result_opt("42")->objectNumber, 3U);
  auto second = answerWith({"44"});
  select->decode(second);
  EXPECT_EQ(select->find_result_opt("42"), nullptr);
  EXPECT_EQ(select->find_result_opt("44")->id, "44");
  EXPECT_EQ(select->heard, "success 0;error 22 why;success 0;");
}

TEST(Select, StaysRegisteredIfItsOptionsSaySo) {
  for (const std::uint32_t options : {0U, 1U, 2U}) {
    ScriptedServer server;
    server.sends(kOffer);
    server.sends(kSession);
    server.sends("75 80 02 01 00 A0 80 30 80 00 00 00 00 00 00");
    sessionRequestCounters.clear();
    const auto connection = ScriptedServer::logIn();
    const auto select = comquery::make<Recorder>("7", ".", options);
    connection->post(*select);
    EXPECT_EQ(connection->await(*select), 0U);
    server.sends("75 80 02 01 00 A0 80 30 80 00 00 00 00 00 00");
    EXPECT_EQ(connection->pump(), options == 1 ? select.get() : nullptr);
    EXPECT_EQ(select->references(), options == 1 ? 2 : 1);
  }
}

}  // namespace
