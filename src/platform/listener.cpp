#include "platform/listener.h"

#include "foundation/errors.h"
#include "platform/system_socket.h"

namespace morvex {
namespace {

// What came of a call that moved no bytes: try again later, or the end.
std::optional<std::size_t> nothingFor(int code) {
  const bool temporary = platform_would_block(code) || platform_interrupted(code);
  return temporary ? std::optional<std::size_t>(0) : std::nullopt;
}

}  // namespace

void throwSocketError(const std::string& what) {
  throwSystemError(what + ": " + socket_error_text(static_cast<unsigned>(platform_socket_error())));
}

OwnedSocket::~OwnedSocket() {
  if (handle_ != kInvalidSocket) {
    platform_close_socket(handle_);
  }
}

std::optional<std::size_t> Peer::receive(std::span<std::uint8_t> buffer) {
  const std::ptrdiff_t count = platform_receive(handle(), buffer.data(), buffer.size());
  if (count > 0) {
    return static_cast<std::size_t>(count);
  }
  return count == 0 ? std::nullopt : nothingFor(platform_socket_error());
}

std::optional<std::size_t> Peer::send(std::span<const std::uint8_t> bytes) {
  const std::ptrdiff_t count = platform_send(handle(), bytes.data(), bytes.size());
  return count >= 0 ? static_cast<std::size_t>(count) : nothingFor(platform_socket_error());
}

std::optional<Peer> Listener::accept(bool& exhausted) {
  OwnedSocket accepted(platform_accept(handle()));
  const bool failed = accepted.handle() == kInvalidSocket;
  exhausted = failed && platform_exhausted(platform_socket_error());
  if (failed) {
    return std::nullopt;
  }
  platform_set_no_delay(accepted.handle(), true);  // an answer leaves at once
  return Peer(std::move(accepted));
}

}  // namespace morvex
