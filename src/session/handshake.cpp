#include "session/handshake.h"

#include <utility>

#include "foundation/errors.h"
#include "platform/clock.h"
#include "protocol/catalogue.h"
#include "protocol/facts.h"

namespace morvex {

using errors::connect_error;

namespace {

constexpr const char* kWrongType = "Protocol error: Wrong type";
constexpr const char* kWrongVersion = "Server does not support our version of the protocol";

}  // namespace

std::unique_ptr<protocol::BerValue> waitForMessage(old_protocol::BerReader& reader) {
  while (true) {
    if (auto message = reader.nextMessage()) {
      return message;
    }
    reader.read();
  }
}

Handshake::Handshake(IoFactory factory, const std::string& server, std::uint32_t port)
    : reader_(std::make_unique<old_protocol::BerReader>(protocol::guiProtocol::instance(),
                                                        factory.open(server, port))) {
  negotiate();
}

void Handshake::negotiate() {
  protocol::ClientWants wants;
  wants.version = protocol::kVersion;
  wants.authentication.emplace<protocol::ClientNoAuth>();
  reader_->send(wants);

  const auto answer = waitForMessage(*reader_);
  if (const auto* refusal = dynamic_cast<const protocol::NegotiateNack*>(answer.get())) {
    throw connect_error("Server rejected us: " + refusal->reason);
  }
  const auto* offer = dynamic_cast<const protocol::ServerOffers*>(answer.get());
  if (offer == nullptr) {
    throw connect_error(kWrongType);
  }
  if (offer->authentication.as<protocol::ServerNoAuth>() == nullptr ||
      !protocol::isCompatible(offer->version)) {
    throw connect_error(kWrongVersion);
  }
  reader_->send(protocol::NegotiateAck());
}

std::unique_ptr<Connection> Handshake::logIn(const protocol::NewSession& wanted) try {
  const auto session = ask(wanted);
  return open(*session, static_cast<std::int32_t>(session->serverTime - currentSeconds()));
} catch (const error::Exception&) {
  throw connect_error("Wrong username / password");
}

std::unique_ptr<Connection> Handshake::reopen(const BigNum& key) try {
  protocol::ReopenSession wanted;
  wanted.sessionKey = key;
  return open(*ask(wanted), 0);
} catch (const error::Exception&) {
  throw connect_error("Session expired");
}

std::unique_ptr<protocol::NewSessionResp> Handshake::ask(const protocol::BerValue& wanted) {
  reader_->send(wanted);
  auto answer = waitForMessage(*reader_);
  auto* session = dynamic_cast<protocol::NewSessionResp*>(answer.get());
  if (session == nullptr) {
    throw connect_error(kWrongType);
  }
  answer.release();  // the same object, under its own class
  return std::unique_ptr<protocol::NewSessionResp>(session);
}

std::unique_ptr<Connection> Handshake::open(protocol::NewSessionResp& session, std::int32_t timeOffset) {
  std::unique_ptr<Connection> connection(new Connection);
  connection->reader_ = std::move(reader_);
  connection->sessionKey_ = session.sessionKey;
  connection->rootObjectId_ = std::move(session.rootId);
  connection->text3_ = std::move(session.text3);
  connection->text4_ = std::move(session.text4);
  connection->timeOffset_ = timeOffset;
  return connection;
}

}  // namespace morvex
