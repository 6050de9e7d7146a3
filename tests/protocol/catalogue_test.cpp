#include "protocol/catalogue.h"

#include <gtest/gtest.h>

#include "protocol/ber_error.h"
#include "support/wire.h"

using namespace protocol;

TEST(Catalogue, KnowsTheSameMessagesInBothTagSets) {
  for (const bool legacy : {false, true}) {
    std::string known;
    for (std::uint32_t tag = 0; tag < 300; ++tag) {
      const std::string refusal = textOf<EBer>([&] {
        const auto message = guiProtocol::instance().makeMessage(tag, legacy);
        known += std::to_string(tag) + message->constructed()->name() + " ";
        EXPECT_EQ(message->tag(legacy), tag);
      });
      EXPECT_TRUE(refusal == "nothing thrown" || refusal == "Unknown tag " + std::to_string(tag)) << refusal;
    }
    EXPECT_EQ(known,
              "3ClientWants 11ServerOffers 19NegotiateAck 27NegotiateNack 35DiffieHellmannParameters "
              "43SporadicBignum 51AuthChallenge 59AuthResponse 67ConfigureReq 75ConfigureResp 83CheckinReq "
              "91CheckinResp 99UpgradeReq 107UpgradeResp 131NewSession 139NewSessionResp 147ReopenSession "
              "155EndSession 163Request 171Response 179GridPropertyList 187ServerTimeReq 195ServerTimeResp "
              "203GridDataIntervalList 211GSLNonce 219GSLSignedNonce 227GridMessage 235GSLKeepAlive "
              "243DowntimeReq 251DowntimeResp 259HWScanReq 267HWScanResp ");
  }
}
