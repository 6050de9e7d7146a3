#include "session/connection.h"

#include <utility>

#include "foundation/assertion.h"
#include "foundation/errors.h"
#include "foundation/wipe.h"
#include "protocol/messages/envelope.h"

namespace morvex {

using comquery::Request;

namespace {

// Overwrites a password at the end of its scope.
struct WipeOnExit {
  std::string& secret;
  ~WipeOnExit() { wipe(secret); }
};

}  // namespace

std::map<BigNum, std::uint32_t> sessionRequestCounters;

std::unique_ptr<Connection> Connection::newSession(IoFactory factory, const std::string& server,
                                                   std::uint32_t port, const std::string& clientName,
                                                   const std::string& login, const std::string& password,
                                                   const std::string& domain) {
  protocol::NewSession wanted;
  const WipeOnExit guard{wanted.password};
  wanted.domain = domain;
  wanted.login = login;
  wanted.clientName = clientName;
  wanted.password = password;
  return std::unique_ptr<Connection>(new Connection(logIn(factory, server, port, wanted)));
}

std::unique_ptr<Connection> Connection::reopenSession(IoFactory factory, const std::string& server,
                                                      std::uint32_t port, const BigNum& key) {
  return std::unique_ptr<Connection>(new Connection(reopen(factory, server, port, key)));
}

Connection::Connection(OpenSession session) : session_(std::move(session)) {}

Connection::~Connection() {
  for (const auto& [request, id] : idsByRequest_) {
    request->release();
  }
}

void Connection::post(Request& request) {
  assertThat(!idsByRequest_.contains(&request), "post called with registered request");
  const std::int32_t id = takeNumber();
  request.retain();
  try {
    requestsById_.emplace(id, &request);
    idsByRequest_.emplace(&request, id);
    protocol::Request message;
    message.requestId = id;
    message.req = request.encode();
    session_.reader->send(message);
  } catch (...) {
    strike(request, id);
    throw;
  }
  request.setState(Request::State::sent);
}

std::uint32_t Connection::await(Request& request) {
  while (idsByRequest_.contains(&request) && pump() != &request) {
  }
  return request.errorCode();
}

const Request* Connection::pump() {
  const auto message = waitForMessage(*session_.reader);
  auto* response = dynamic_cast<protocol::Response*>(message.get());
  if (response == nullptr) {
    throw errors::bererror("Wrong type. Expected Response");
  }
  const auto asked = requestsById_.find(response->requestId);
  if (asked == requestsById_.end()) {
    return nullptr;
  }
  Request* request = asked->second;
  request->setState(Request::State::answered);
  request->decode(*response->resp);
  request->finished(*this);
  return request;
}

void Connection::forget(Request& request) {
  const auto entry = idsByRequest_.find(&request);
  assertThat(entry != idsByRequest_.end(), "forget called with unknown request");
  assertThat(requestsById_.contains(entry->second), "forget called with unknown request.");
  strike(request, entry->second);
}

// Numbers have 31 bits. After the last one they start over and skip those still under way.
std::int32_t Connection::takeNumber() {
  std::uint32_t& next = sessionRequestCounters[session_.key];
  std::int32_t id;
  do {
    id = static_cast<std::int32_t>(next++ & 0x7FFFFFFFU);
  } while (requestsById_.contains(id));
  return id;
}

// Removes the request from both maps and releases it; it may be gone afterwards.
void Connection::strike(Request& request, std::int32_t id) {
  requestsById_.erase(id);
  idsByRequest_.erase(&request);
  request.release();
}

}  // namespace morvex
