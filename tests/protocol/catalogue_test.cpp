#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "support/wire.h"

using namespace protocol;

TEST(Catalogue, KnowsTheSameMessagesInBothTagSets) {
  // clang-format off
  const std::string names[34] = {  // by number
      "ClientWants", "ServerOffers", "NegotiateAck", "NegotiateNack", "DiffieHellmannParameters",
      "SporadicBignum", "AuthChallenge", "AuthResponse", "", "", "", "", "", "", "", "", "NewSession",
      "NewSessionResp", "ReopenSession", "EndSession", "Request", "Response", "", "ServerTimeReq",
      "ServerTimeResp", "", "GSLNonce", "GSLSignedNonce", "", "GSLKeepAlive"};
  // clang-format on
  for (std::uint32_t tag = 0; tag < 300; ++tag) {
    const std::string known = tag % 8 == 3 && tag / 8 < std::size(names) ? names[tag / 8] : "";
    for (const bool legacy : {false, true}) {
      std::string name;
      const std::string refusal = textOf<EBer>([&] {
        const auto message = guiProtocol::instance().makeMessage(tag, legacy);
        name = message->constructed()->name();
        EXPECT_EQ(message->tag(legacy), tag);
      });
      EXPECT_EQ(name, known);
      EXPECT_EQ(refusal, known.empty() ? "Unknown tag " + std::to_string(tag) : "nothing thrown");
    }
  }
}
