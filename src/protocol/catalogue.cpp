#include "protocol/catalogue.h"

#include <string>

#include "protocol/ber_error.h"
#include "protocol/messages/agent.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/grid.h"
#include "protocol/messages/handshake.h"

namespace morvex::protocol {

namespace {

template <class... Messages>
std::unique_ptr<Record> makeOneOf(std::uint32_t tag, bool legacy) {
  std::unique_ptr<Record> made;
  const bool found =
      ((Messages::kSchema.tag.word(legacy) == tag && (made = std::make_unique<Messages>()) != nullptr) ||
       ...);
  return found ? std::move(made) : throw EBer("Unknown tag " + std::to_string(tag));
}

}  // namespace

std::unique_ptr<Record> guiProtocol::makeMessage(std::uint32_t tag, bool legacy) const {
  return makeOneOf<ClientWants, ServerOffers, NegotiateAck, NegotiateNack, DiffieHellmannParameters,
                   SporadicBignum, AuthChallenge, AuthResponse, ConfigureReq, ConfigureResp, CheckinReq,
                   CheckinResp, UpgradeReq, UpgradeResp, NewSession, NewSessionResp, ReopenSession,
                   EndSession, Request, Response, GridPropertyList, ServerTimeReq, ServerTimeResp,
                   GridDataIntervalList, GSLNonce, GSLSignedNonce, GridMessage, GSLKeepAlive, DowntimeReq,
                   DowntimeResp, HWScanReq, HWScanResp>(tag, legacy);
}

const guiProtocol& guiProtocol::instance() {
  static const guiProtocol theOne;
  return theOne;
}

}  // namespace morvex::protocol
