#include "protocol/catalogue.h"

#include "protocol/messages/agent.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/grid.h"
#include "protocol/messages/handshake.h"

namespace morvex::protocol {

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
