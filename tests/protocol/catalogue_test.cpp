#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include <map>

#include "protocol/ber_error.h"
#include "support/wire.h"

using namespace protocol;

TEST(Catalogue, KnowsTheSameMessagesInBothTagSets) {
  const std::map<std::uint32_t, std::string> known = {
      {3, "ClientWants"},
      {11, "ServerOffers"},
      {19, "NegotiateAck"},
      {27, "NegotiateNack"},
      {35, "DiffieHellmannParameters"},
      {43, "SporadicBignum"},
      {51, "AuthChallenge"},
      {59, "AuthResponse"},
      {131, "NewSession"},
      {139, "NewSessionResp"},
      {147, "ReopenSession"},
      {155, "EndSession"},
      {163, "Request"},
      {171, "Response"},
      {187, "ServerTimeReq"},
      {195, "ServerTimeResp"},
      {211, "GSLNonce"},
      {219, "GSLSignedNonce"},
      {235, "GSLKeepAlive"},
  };
  for (std::uint32_t tag = 0; tag < 300; ++tag) {
    for (const bool legacy : {false, true}) {
      std::string name = "nothing";
      const std::string refusal = textOf<EBer>([&] {
        const auto message = guiProtocol::instance().makeMessage(tag, legacy);
        name = message->constructed()->name();
        EXPECT_EQ(message->tag(legacy), tag);
      });
      if (known.count(tag) != 0) {
        EXPECT_EQ(name, known.at(tag));
      } else {
        EXPECT_EQ(refusal, "Unknown tag " + std::to_string(tag));
      }
    }
  }
}
