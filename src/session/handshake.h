#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "foundation/big_num.h"
#include "protocol/ber_reader.h"
#include "protocol/messages/handshake.h"
#include "protocol/osal_socket.h"

namespace morvex {

// Opens the stream to a server and gives it away. Throws error::ESystemError. The port is in host byte order.
struct IoFactory {
  std::unique_ptr<old_protocol::BasicIo> (*open)(const std::string& host, std::uint32_t port);
};

// The usual one: TCP.
inline constexpr IoFactory kSocketIo{&old_protocol::connectSocketIo};

// A session that the server has opened, and the reader of its stream.
struct OpenSession {
  std::unique_ptr<old_protocol::BerReader> reader;
  BigNum key;
  std::string rootObjectId;
};

// The exchange that opens a session, strictly one flush and one answer at a time:
//   client  ClientWants                  NegotiateAck, NewSession or ReopenSession
//   server               ServerOffers                                               NewSessionResp
// The server refuses the last step by any other answer, or by hanging up: every failure there counts as a
// refusal. Throws as Connection::newSession says.
OpenSession logIn(IoFactory factory, const std::string& server, std::uint32_t port,
                  const protocol::NewSession& wanted);
OpenSession reopen(IoFactory factory, const std::string& server, std::uint32_t port, const BigNum& key);

// Reads until a message is complete. Blocks as long as the stream does.
std::unique_ptr<protocol::Record> waitForMessage(old_protocol::BerReader& reader);

}  // namespace morvex
