#include "session/handshake.h"

#include <utility>

#include "foundation/errors.h"
#include "protocol/catalogue.h"
#include "protocol/facts.h"

namespace morvex {
namespace {

using errors::connect_error;
using Reader = std::unique_ptr<old_protocol::BerReader>;

// Opens the stream and agrees on version and authentication. The acknowledgement waits for the next message:
// sent alone, it would hold that one back until a server that delays its own acknowledgements has sent one.
Reader negotiate(IoFactory factory, const std::string& server, std::uint32_t port) {
  auto reader = std::make_unique<old_protocol::BerReader>(protocol::guiProtocol::instance(),
                                                          factory.open(server, port));
  protocol::ClientWants wants;
  wants.version = protocol::kVersion;
  wants.authentication.emplace<protocol::ClientNoAuth>();
  reader->send(wants);

  const auto answer = waitForMessage(*reader);
  if (const auto* refusal = dynamic_cast<const protocol::NegotiateNack*>(answer.get())) {
    throw connect_error("Server rejected us: " + refusal->reason);
  }
  const auto* offer = dynamic_cast<const protocol::ServerOffers*>(answer.get());
  if (offer == nullptr) {
    throw connect_error("Protocol error: Wrong type");
  }
  if (offer->authentication.as<protocol::ServerNoAuth>() == nullptr ||
      !protocol::isCompatible(offer->version)) {
    throw connect_error("Server does not support our version of the protocol");
  }
  reader->write(protocol::NegotiateAck());
  return reader;
}

OpenSession ask(Reader reader, const protocol::Record& wanted, const char* refusal) {
  try {
    reader->send(wanted);
    const auto answer = waitForMessage(*reader);
    if (auto* session = dynamic_cast<protocol::NewSessionResp*>(answer.get())) {
      return {std::move(reader), session->sessionKey, std::move(session->rootId)};
    }
  } catch (const error::Exception&) {  // counts as a refusal
  }
  throw connect_error(refusal);
}

}  // namespace

OpenSession logIn(IoFactory factory, const std::string& server, std::uint32_t port,
                  const protocol::NewSession& wanted) {
  return ask(negotiate(factory, server, port), wanted, "Wrong username / password");
}

OpenSession reopen(IoFactory factory, const std::string& server, std::uint32_t port, const BigNum& key) {
  protocol::ReopenSession wanted;
  wanted.sessionKey = key;
  return ask(negotiate(factory, server, port), wanted, "Session expired");
}

std::unique_ptr<protocol::Record> waitForMessage(old_protocol::BerReader& reader) {
  while (true) {
    if (auto message = reader.nextMessage()) {
      return message;
    }
    reader.read();
  }
}

}  // namespace morvex
