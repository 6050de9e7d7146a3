#include "protocol/osal_socket.h"

#include "foundation/errors.h"
#include "foundation/output.h"
#include "protocol/buffer_io.h"

namespace old_protocol {
namespace {

// Blocking, and with Nagle's algorithm: socket_connect looks at no bit that is set here.
constexpr unsigned kConnectFlags = 4;

void check(const char* failure, const char* context = "") {
  if (failure != nullptr) {
    throwSystemError(std::string(context) + failure);
  }
}

}  // namespace

OsalSocket::OsalSocket(const std::string& host, std::uint32_t port) {
  check(socket_startup(), "Error initializing socket subsystem: ");
  std::uint32_t address = 0;
  check(socket_resolve(host.c_str(), address));
  check(socket_connect(address, static_cast<std::uint16_t>(port), socket_, kConnectFlags));
}

// A destructor has no caller to tell, so it tells the user, without allocating.
OsalSocket::~OsalSocket() {
  if (const char* failure = socket_close(socket_)) {
    printError(socket_format("Error closing socket: %s\n", failure));
  }
}

void OsalSocket::write(const std::uint8_t* bytes, std::size_t count) {
  check(socket_send(socket_, bytes, count), "Error writing to socket: ");
}

std::size_t OsalSocket::read(std::uint8_t* bytes, std::size_t capacity) {
  if (capacity == 0) {
    return 0;
  }
  std::size_t received = 0;
  check(socket_recv(socket_, bytes, capacity, received), "Error reading from socket: ");
  if (received == 0) {
    throwSystemError("Error reading: OsalSocket::read end of stream");
  }
  return received;
}

bool OsalSocket::hasData() { return socket_readable(socket_, 0); }

std::unique_ptr<BasicIo> connectSocketIo(const std::string& host, std::uint32_t port) {
  return std::make_unique<BufferIo>(std::make_unique<OsalSocket>(host, port));
}

}  // namespace old_protocol
