#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/system_socket.h"

namespace morvex {
namespace {

using Clock = std::chrono::steady_clock;

int descriptorOf(SocketHandle socket) { return static_cast<int>(socket); }

bool set(SocketHandle socket, int level, int option, int value) {
  return setsockopt(descriptorOf(socket), level, option, &value, sizeof value) == 0;
}

// The milliseconds that poll may still take, rounded up so that it never returns a little too early.
int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

}  // namespace

int platform_socket_error() { return errno; }

bool platform_interrupted(int code) { return code == EINTR; }

bool platform_would_block(int code) { return code == EAGAIN || code == EWOULDBLOCK || code == EINPROGRESS; }

SocketHandle platform_open_socket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }

bool platform_set_non_blocking(SocketHandle socket, bool nonBlocking) {
  int argument = nonBlocking ? 1 : 0;
  return ioctl(descriptorOf(socket), FIONBIO, &argument) == 0;
}

bool platform_set_no_delay(SocketHandle socket, bool noDelay) {
  return set(socket, IPPROTO_TCP, TCP_NODELAY, noDelay ? 1 : 0);
}

bool platform_watch_peer(SocketHandle socket) {
  const bool watched =
      set(socket, SOL_SOCKET, SO_KEEPALIVE, 1) && set(socket, IPPROTO_TCP, TCP_KEEPIDLE, kFirstProbe) &&
      set(socket, IPPROTO_TCP, TCP_KEEPINTVL, kNextProbe) && set(socket, IPPROTO_TCP, TCP_KEEPCNT, kProbes);
  // Without this one the system has a limit of its own.
  set(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, 1000 * kUnacknowledged);
  return watched;
}

// Only speed depends on it.
void socket_gather(SocketHandle socket, bool on) { set(socket, IPPROTO_TCP, TCP_CORK, on ? 1 : 0); }

bool platform_connect(SocketHandle socket, std::uint32_t address, std::uint16_t port) {
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  return connect(descriptorOf(socket), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0;
}

int platform_wait(SocketHandle socket, Readiness wanted, int seconds, bool* settled) {
  const auto deadline = Clock::now() + std::chrono::seconds(seconds);
  const short events = wanted == Readiness::toRead ? POLLIN : POLLOUT;
  while (true) {
    pollfd waited{.fd = descriptorOf(socket), .events = events, .revents = 0};
    const int result = poll(&waited, 1, seconds == kForEver ? kForEver : millisecondsUntil(deadline));
    if (result >= 0 || errno != EINTR) {
      if (settled != nullptr) {
        *settled = waited.revents != 0;
      }
      return result;
    }
  }
}

bool platform_connection_error(SocketHandle socket, int& code) {
  socklen_t length = sizeof code;
  return getsockopt(descriptorOf(socket), SOL_SOCKET, SO_ERROR, &code, &length) == 0;
}

std::ptrdiff_t platform_send(SocketHandle socket, const void* bytes, std::size_t count) {
  return send(descriptorOf(socket), bytes, count, MSG_NOSIGNAL);
}

std::ptrdiff_t platform_receive(SocketHandle socket, void* room, std::size_t count) {
  return recv(descriptorOf(socket), room, count, 0);
}

std::size_t platform_pending(SocketHandle socket) {
  int count = 0;
  return ioctl(descriptorOf(socket), FIONREAD, &count) == 0 ? static_cast<std::size_t>(count) : 0;
}

void platform_shutdown(SocketHandle socket) { shutdown(descriptorOf(socket), SHUT_RDWR); }

bool platform_close_socket(SocketHandle socket) {
  return close(descriptorOf(socket)) == 0 || errno == EINTR;  // interrupted or not, it is released
}

void platform_error_text(unsigned code, char* buffer, std::size_t capacity) {
  std::snprintf(buffer, capacity, "%s", std::strerror(static_cast<int>(code)));
}

const char* socket_startup() { return nullptr; }  // this system's sockets need no start

const char* socket_resolve(const char* host, std::uint32_t& address) {
  address = inet_addr(host);
  if (address != INADDR_NONE) {
    return nullptr;
  }
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int code = getaddrinfo(host, nullptr, &wanted, &found);
  if (code == EAI_NODATA) {
    return socket_format("No addresses found when resolving \"%s\"", host);
  }
  if (code != 0) {
    const char* reason =
        code == EAI_SYSTEM ? socket_error_text(static_cast<unsigned>(errno)) : gai_strerror(code);
    return socket_format("Error resolving \"%s\": %s", host, reason);
  }
  sockaddr_in first{};
  std::memcpy(&first, found->ai_addr, sizeof first);
  freeaddrinfo(found);
  address = first.sin_addr.s_addr;
  return nullptr;
}

}  // namespace morvex
