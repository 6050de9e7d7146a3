#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "platform/socket.h"

namespace morvex {

// The sockets of a server in one thread, which never block, waiting for them, and what the user ends it with.

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

  // Bytes moved, and 0 for none at the moment. Empty when the connection has ended or failed.
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

  // The next client that waits. Empty if there is none, or none can be taken; the latter sets exhausted.
  std::optional<Peer> accept(bool& exhausted);

  SocketHandle handle() const { return socket_.handle(); }

 private:
  OwnedSocket socket_;
  std::uint16_t port_ = 0;
};

// What to wait for on one socket, and what came of it.
struct Watch {
  SocketHandle socket;
  bool input;
  bool output;
  bool failed = false;  // the connection is gone
};

// From here on the user's request to end the program, SIGINT and SIGTERM or Ctrl+C and Ctrl+Break, only ends
// a wait. Throws error::ESystemError.
void catchStopRequests();
bool stopRequested();

// Returns when a watch is ready, the time is over (never without one), or a stop was requested. input and
// output then say what is ready. Throws error::ESystemError.
void waitForSockets(std::span<Watch> watches, std::optional<std::chrono::milliseconds> time);

}  // namespace morvex
