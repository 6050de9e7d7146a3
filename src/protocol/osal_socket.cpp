#include "protocol/osal_socket.h"

#include <algorithm>

#include "foundation/errors.h"
#include "platform/output.h"
#include "platform/traffic.h"
#include "protocol/buffer_io.h"

namespace morvex::old_protocol {
namespace {

constexpr unsigned kNoFlags = 0;  // blocking, and with Nagle's algorithm
constexpr std::size_t kEarlyBlock = 0x10000;

constexpr const char* kReading = "Error reading from socket: ";
constexpr const char* kWriting = "Error writing to socket: ";

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
  check(socket_connect(address, static_cast<std::uint16_t>(port), socket_, kNoFlags));
}

// A destructor cannot throw, so it tells the user itself, without allocating.
OsalSocket::~OsalSocket() {
  if (const char* failure = socket_close(socket_)) {
    printError(socket_format("Error closing socket: %s\n", failure));
  }
}

void OsalSocket::write(const std::uint8_t* bytes, std::size_t count) {
  takeEarly();
  check(socket_send(socket_, bytes, count), kWriting);
  g_traffic.count(Way::sent, count);
}

std::size_t OsalSocket::read(std::uint8_t* bytes, std::size_t capacity) {
  if (capacity == 0) {
    return 0;
  }
  if (!early_.empty()) {
    return giveEarly(bytes, capacity);
  }
  showWaiting();
  std::size_t received = 0;
  check(socket_recv(socket_, bytes, capacity, received), kReading);
  if (received == 0) {
    throwSystemError("Error reading: OsalSocket::read end of stream");
  }
  drained_ = received < capacity;
  g_traffic.count(Way::received, received);
  return received;
}

// One block at most: a peer that never stops sending must not keep us from writing. A failure here shows
// again in the call that it belongs to, the send or the next read, and so does the end of the stream.
void OsalSocket::takeEarly() {
  if (!socket_has_input(socket_)) {
    return;
  }
  const std::size_t held = early_.size();
  early_.resize(held + kEarlyBlock);
  std::size_t received = 0;
  socket_recv(socket_, early_.data() + held, kEarlyBlock, received);
  early_.resize(held + received);
}

std::size_t OsalSocket::giveEarly(std::uint8_t* bytes, std::size_t capacity) {
  const std::size_t count = std::min(capacity, early_.size() - earlyGiven_);
  std::copy_n(early_.data() + earlyGiven_, count, bytes);
  earlyGiven_ += count;
  if (earlyGiven_ == early_.size()) {
    early_.clear();
    earlyGiven_ = 0;
  }
  g_traffic.count(Way::received, count);
  return count;
}

// Shows the latest figures while the server keeps us waiting. To ask before every read, even with more input
// at hand, would cost half a percent.
void OsalSocket::showWaiting() {
  if (drained_ && g_traffic.behind && !socket_readable(socket_, 1)) {
    g_traffic.tell(Occasion::passed);
  }
}

std::unique_ptr<BasicIo> connectSocketIo(const std::string& host, std::uint32_t port) {
  return std::make_unique<BufferIo>(std::make_unique<OsalSocket>(host, port));
}

}  // namespace morvex::old_protocol
