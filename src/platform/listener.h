#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "platform/socket.h"

namespace morvex {

// Sockets that never block, for a server in one thread: waiting for them, and for the user to end the server.

// A socket that is closed with its owner.
class OwnedSocket {
 public:
  explicit OwnedSocket(SocketHandle socket) : handle_(socket) {}
  OwnedSocket(OwnedSocket&& other) noexcept : handle_(std::exchange(other.handle_, kInvalidSocket)) {}
  OwnedSocket& operator=(OwnedSocket&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~OwnedSocket();

  SocketHandle handle() const { return handle_; }

 private:
  SocketHandle handle_;
};

// The connection to one client.
class Peer {
 public:
  explicit Peer(OwnedSocket socket) : socket_(std::move(socket)) {}

  // Return the number of bytes moved, 0 if none could move now. Empty when the connection has ended or
  // failed.
  std::optional<std::size_t> receive(std::span<std::uint8_t> buffer);
  std::optional<std::size_t> send(std::span<const std::uint8_t> bytes);

  SocketHandle handle() const { return socket_.handle(); }

 private:
  OwnedSocket socket_;
};

class Listener {
 public:
  // Listens on the loopback address; port 0 takes a free one. Throws error::ESystemError.
  explicit Listener(std::uint16_t port);

  std::uint16_t port() const { return port_; }

  // The next client in the queue. Empty if there is none, or the system has no room for one, which sets
  // exhausted.
  std::optional<Peer> accept(bool& exhausted);

  SocketHandle handle() const { return socket_.handle(); }

 private:
  OwnedSocket socket_;
  std::uint16_t port_ = 0;
};

// One socket of a wait: the events to wait for, then those that came.
struct Watch {
  SocketHandle socket;
  bool input;
  bool output;
  bool failed = false;  // the connection is gone
};

// From here on SIGINT and SIGTERM, or Ctrl+C and Ctrl+Break, request a stop: they end a wait instead of the
// program. A wait may overlook one as long as watches are ready, stopRequested never does. Throws
// error::ESystemError.
void catchStopRequests();
bool stopRequested();

// Returns when a watch is ready, the time is over (without one: never), or a stop was requested. input and
// output then say what is ready, or what may be if the limit of descriptors forbids to wait for so many.
// Throws error::ESystemError.
void waitForSockets(std::span<Watch> watches, std::optional<std::chrono::milliseconds> time);

}  // namespace morvex
