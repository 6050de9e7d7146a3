#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "foundation/big_num.h"
#include "protocol/ber_reader.h"
#include "protocol/osal_socket.h"
#include "session/request.h"

namespace morvex {

// The stream to a server, made by whoever knows how to reach it. open gives the stream away, and throws
// error::ESystemError. The port is in host byte order.
struct IoFactory {
  std::unique_ptr<old_protocol::BasicIo> (*open)(const std::string& host, std::uint32_t port);
};

// The usual one: TCP.
inline constexpr IoFactory kSocketIo{&old_protocol::connectSocketIo};

// The next request number of each session of this process, so that numbers of a session never repeat, not
// even over a second connection.
extern std::map<BigNum, std::uint32_t> sessionRequestCounters;

// An open session on one stream. Nothing happens on the stream but inside its functions. Requests may be
// posted without waiting; answers are matched by number, in whatever order they come.
// The libraries keep state of the process (numbers, buffers for messages), so one thread at a time may use
// them, even with a connection for each. After a failure of the stream or the reader a connection is of no
// more use.
class Connection {
 public:
  // Log-in, and the reopening of a session by its key. Both block without a time limit of their own. Throw
  // errors::connect_error with the reason for a refusal, error::ESystemError for an unreachable server and
  // protocol::EBer for a broken answer to the negotiation. port is 1 to 65535. A log-in carries up to 128
  // bytes of login and password, 256 of clientName, which names the program to the server, and 1024 of
  // domain, "." for the root; one that is longer counts as refused. The caller's password stays the caller's
  // to wipe.
  static std::unique_ptr<Connection> newSession(IoFactory factory, const std::string& server,
                                                std::uint32_t port, const std::string& clientName,
                                                const std::string& login, const std::string& password,
                                                const std::string& domain);
  static std::unique_ptr<Connection> reopenSession(IoFactory factory, const std::string& server,
                                                   std::uint32_t port, const BigNum& key);

  // Gives up its references to the requests under way, which will not be answered. Tells the server nothing.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Gives the request, which must not be under way, the session's next number and sends it. If that throws,
  // the request is as if it had never been posted; the number is spent, and part of the message may be out.
  void post(comquery::Request& request);

  // Handles answers until this request has been answered, and returns its error code (errorText in
  // foundation/errors.h), 0 for none; at once for a request that is not under way. Waits without a time
  // limit. Throws what the stream, the reader and the requests' decode throw; a request whose decode has
  // thrown stays under way, in state answered.
  std::uint32_t await(comquery::Request& request);

  // Handles one message. Returns the request that it answered, null if nobody asked. The pointer is good for
  // a comparison only.
  const comquery::Request* pump();

  // Takes the request off the books and gives up the connection's reference. For Request::finished.
  void forget(comquery::Request& request);

  // The object at which the server roots this log-in's view of the tree.
  std::string rootObjectId() const { return rootObjectId_; }
  const BigNum& sessionKey() const { return sessionKey_; }

 private:
  friend class Handshake;
  Connection() = default;

  std::int32_t takeNumber();
  void strike(comquery::Request& request, std::int32_t id);

  std::unique_ptr<old_protocol::BerReader> reader_;
  BigNum sessionKey_;
  std::string text3_, text4_;  // from the server, for other clients than this
  std::string rootObjectId_;
  std::int32_t timeOffset_ = 0;  // the server's time minus ours at log-in, in seconds
  std::map<std::int32_t, comquery::Request*> requestsById_;
  std::map<comquery::Request*, std::int32_t> idsByRequest_;
};

}  // namespace morvex
