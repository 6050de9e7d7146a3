#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "protocol/ber_reader.h"
#include "protocol/messages/handshake.h"
#include "session/connection.h"

namespace morvex {

// Reads until a message is complete. Blocks as long as the stream does.
std::unique_ptr<protocol::BerValue> waitForMessage(old_protocol::BerReader& reader);

// The exchange that opens a session, strictly one message and one answer at a time:
//   client  ClientWants                  NegotiateAck  NewSession or ReopenSession
//   server               ServerOffers                                                NewSessionResp
// Made for one session: logIn or reopen is called once.
class Handshake {
 public:
  // Opens the stream and agrees on version and authentication.
  Handshake(IoFactory factory, const std::string& server, std::uint32_t port);

  // The server refuses a log-in by any other answer, or by hanging up: every failure here counts as a
  // refusal.
  std::unique_ptr<Connection> logIn(const protocol::NewSession& wanted);
  std::unique_ptr<Connection> reopen(const BigNum& key);

 private:
  void negotiate();
  std::unique_ptr<protocol::NewSessionResp> ask(const protocol::BerValue& wanted);
  std::unique_ptr<Connection> open(protocol::NewSessionResp& session, std::int32_t timeOffset);

  std::unique_ptr<old_protocol::BerReader> reader_;
};

}  // namespace morvex
