#include "protocol/catalogue.h"

#include <string>

#include "protocol/ber_error.h"
#include "protocol/messages/agent.h"
#include "protocol/messages/envelope.h"
#include "protocol/messages/grid.h"
#include "protocol/messages/handshake.h"

namespace protocol {
namespace {

// The top of the stream is a union like those below it.
using TopLevel =
    OneOf<ClientWants, ServerOffers, NegotiateAck, NegotiateNack, DiffieHellmannParameters, SporadicBignum,
          AuthChallenge, AuthResponse, ConfigureReq, ConfigureResp, CheckinReq, CheckinResp, UpgradeReq,
          UpgradeResp, NewSession, NewSessionResp, ReopenSession, EndSession, Request, Response,
          GridPropertyList, ServerTimeReq, ServerTimeResp, GridDataIntervalList, GSLNonce, GSLSignedNonce,
          GridMessage, GSLKeepAlive, DowntimeReq, DowntimeResp, HWScanReq, HWScanResp>;

}  // namespace

std::unique_ptr<BerValue> guiProtocol::makeMessage(std::uint32_t tag, bool legacy) const {
  std::unique_ptr<BerValue> message = TopLevel::make(tag, legacy);
  if (message == nullptr) {
    throw EBer("Unknown tag " + std::to_string(tag));
  }
  return message;
}

const guiProtocol& guiProtocol::instance() {
  static const guiProtocol theOne;
  return theOne;
}

}  // namespace protocol
