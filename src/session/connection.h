#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "foundation/big_num.h"
#include "protocol/ber_reader.h"
#include "session/handshake.h"
#include "session/request.h"

namespace morvex {

// The next request number of each session of this process: numbers of a session never repeat, not even over
// a second connection.
extern std::map<BigNum, std::uint32_t> sessionRequestCounters;

// An open session on one stream. The stream moves only inside these functions. Requests may be posted without
// waiting; answers are matched by number, in any order.
// The libraries keep state of the process (numbers, buffers for messages): only one thread at a time may use
// them, even with a connection for each. A failure of the stream or the reader ends the use of a connection.
class Connection {
 public:
  // Log in, or reopen a session by its key. Both block without a time limit of their own. Throw
  // errors::connect_error with the reason for a refusal, error::ESystemError for an unreachable server and
  // protocol::EBer for a broken answer to the negotiation. port is 1 to 65535. login and password take up to
  // 128 bytes, clientName (the program's name for the server) 256, and domain ("." for the root) 1024; longer
  // ones count as refused, as does a key of more than 1040. The caller wipes its own copy of the password.
  static std::unique_ptr<Connection> newSession(IoFactory factory, const std::string& server,
                                                std::uint32_t port, const std::string& clientName,
                                                const std::string& login, const std::string& password,
                                                const std::string& domain);
  static std::unique_ptr<Connection> reopenSession(IoFactory factory, const std::string& server,
                                                   std::uint32_t port, const BigNum& key);

  // Gives up its references to the requests under way, which stay unanswered. Tells the server nothing.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Gives the request, which must not be under way, the session's next number and sends it. If that throws,
  // the request is as if it had never been posted, but the number is spent and part of the message may be
  // out.
  void post(comquery::Request& request);

  // Between true and false, requests may wait to share their packets with those behind them. Otherwise all
  // requests behind the first would wait until the server has acknowledged that one.
  void gather(bool on) { session_.reader->lower().gather(on); }

  // Handles answers until this request has been answered, and returns its error code (errorText in
  // foundation/errors.h), 0 for none; at once for a request that is not under way. Waits without a time
  // limit. Throws what the stream, the reader and the requests' decode throw; a request whose decode has
  // thrown stays under way, in state answered.
  std::uint32_t await(comquery::Request& request);

  // Handles one message. Returns the request that it answered, null if nobody asked. The request may be gone:
  // compare the pointer only.
  const comquery::Request* pump();

  // Removes the request and gives up the connection's reference. Request::finished calls it.
  void forget(comquery::Request& request);

  // The object at which the server roots this log-in's view of the tree.
  const std::string& rootObjectId() const { return session_.rootObjectId; }
  const BigNum& sessionKey() const { return session_.key; }

 private:
  explicit Connection(OpenSession session);

  std::int32_t takeNumber();
  void strike(comquery::Request& request, std::int32_t id);

  OpenSession session_;
  std::map<std::int32_t, comquery::Request*> requestsById_;
  std::map<comquery::Request*, std::int32_t> idsByRequest_;
};

}  // namespace morvex
