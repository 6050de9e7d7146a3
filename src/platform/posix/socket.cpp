#include "platform/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>

namespace morvex {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTimeout = 600;  // seconds that a non-blocking socket may keep a call waiting
constexpr int kForEver = -1;

int descriptorOf(SocketHandle socket) { return static_cast<int>(socket); }

const char* errorTextOf(int code) { return socket_error_text(static_cast<unsigned>(code)); }

// Joins the words of a failed step with the system's text and number.
const char* failure(const char* words, int code) {
  return socket_format("%s: %s (%d)", words, errorTextOf(code), code);
}

bool wouldBlock(int code) { return code == EAGAIN || code == EWOULDBLOCK; }

// The milliseconds that poll may still take, rounded up so that it never returns a little too early.
int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(left < 0 ? 0 : left > INT_MAX ? INT_MAX : left);
}

// Waits until the socket is ready for these events or has failed, and says which in ready. Returns 1, 0 after
// that many seconds, or -1.
int waitFor(int descriptor, short events, int seconds, short* ready = nullptr) {
  const auto deadline = Clock::now() + std::chrono::seconds(seconds);
  while (true) {
    pollfd waited{.fd = descriptor, .events = events, .revents = 0};
    const int result = poll(&waited, 1, seconds == kForEver ? kForEver : millisecondsUntil(deadline));
    if (result >= 0 || errno != EINTR) {
      if (ready != nullptr) {
        *ready = waited.revents;
      }
      return result;
    }
  }
}

bool setNonBlocking(int descriptor, bool nonBlocking) {
  int argument = nonBlocking ? 1 : 0;
  return ioctl(descriptor, FIONBIO, &argument) == 0;
}

bool setNoDelay(int descriptor, bool noDelay) {
  const int argument = noDelay ? 1 : 0;
  return setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &argument, sizeof argument) == 0;
}

// Waits for a connection that the system goes on making by itself.
const char* finishConnecting(int descriptor, int seconds) {
  short ready = 0;
  const int result = waitFor(descriptor, POLLOUT, seconds, &ready);
  if (result == 0) {
    return "Connection timed out";
  }
  if (result != 1) {
    return socket_format("Error connecting: Select returned: %d", result);
  }
  if ((ready & (POLLOUT | POLLERR | POLLHUP)) == 0) {
    return "Error connecting: Select returned, but socket isn't present";
  }
  int code = 0;
  socklen_t length = sizeof code;
  if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &code, &length) != 0) {
    return failure("Error retrieving connection status", errno);
  }
  return code == 0 ? nullptr : failure("Error connecting", code);
}

const char* setUpAndConnect(int descriptor, const sockaddr_in& peer, unsigned flags) {
  if (!setNonBlocking(descriptor, (flags & kSocketNonBlocking) != 0)) {
    return failure("Error setting socket to nonblocking", errno);
  }
  if (!setNoDelay(descriptor, (flags & kSocketNoDelay) != 0)) {
    return failure("Error disabling Nagle", errno);
  }
  if (connect(descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
    return nullptr;
  }
  switch (const int code = errno) {
    case EINPROGRESS:
      return finishConnecting(descriptor, kTimeout);
    case EINTR:  // a blocking attempt, which goes on: another connect would be refused
      return finishConnecting(descriptor, kForEver);
    default:
      return failure("Error connecting", code);
  }
}

}  // namespace

const char* socket_startup() { return nullptr; }  // this platform's sockets need no start

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
    const char* reason = code == EAI_SYSTEM ? errorTextOf(errno) : gai_strerror(code);
    return socket_format("Error resolving \"%s\": %s", host, reason);
  }
  sockaddr_in first{};
  std::memcpy(&first, found->ai_addr, sizeof first);
  freeaddrinfo(found);
  address = first.sin_addr.s_addr;
  return nullptr;
}

const char* socket_connect(std::uint32_t address, std::uint16_t port, SocketHandle& socket, unsigned flags) {
  socket = kInvalidSocket;
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    return failure("Error creating socket", errno);
  }
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  if (const char* message = setUpAndConnect(descriptor, peer, flags)) {
    close(descriptor);
    return message;
  }
  socket = descriptor;
  return nullptr;
}

const char* socket_send(SocketHandle socket, const void* buffer, std::size_t length) {
  const auto* bytes = static_cast<const char*>(buffer);
  do {
    const ssize_t count = send(descriptorOf(socket), bytes, length, MSG_NOSIGNAL);
    if (count >= 0) {
      if (static_cast<std::size_t>(count) > length) {
        return "send() sent too much - this is a Winsock error";
      }
      bytes += count;
      length -= static_cast<std::size_t>(count);
    } else if (wouldBlock(errno)) {
      const int result = waitFor(descriptorOf(socket), POLLOUT, kTimeout);
      if (result == 0) {
        return "Timeout in socket_send()";
      }
      if (result != 1) {
        return failure("Bad error after sleep happened in socket_send()", errno);
      }
    } else if (errno != EINTR) {
      return failure("Bad error without sleep happened in socket_send()", errno);
    }
  } while (length > 0);
  return nullptr;
}

const char* socket_recv(SocketHandle socket, void* buffer, std::size_t length, std::size_t& received) {
  while (true) {
    const ssize_t count = recv(descriptorOf(socket), buffer, length, 0);
    if (count >= 0) {
      received = static_cast<std::size_t>(count);
      return nullptr;
    }
    if (wouldBlock(errno)) {
      const int result = waitFor(descriptorOf(socket), POLLIN, kTimeout);
      if (result == 0) {
        return "Timeout in socket_recv()";
      }
      if (result != 1) {
        return failure("Bad error happened in socket_recv()", errno);
      }
    } else if (errno != EINTR) {
      return failure("Bad error happened without sleep in socket_recv()", errno);
    }
  }
}

bool socket_readable(SocketHandle socket, int seconds) {
  return waitFor(descriptorOf(socket), POLLIN, seconds) == 1;
}

const char* socket_close(SocketHandle socket) {
  if (!setNonBlocking(descriptorOf(socket), false)) {
    return failure("socket_close: Error at ioctlsocket", errno);
  }
  shutdown(descriptorOf(socket), SHUT_RDWR);
  if (close(descriptorOf(socket)) != 0 && errno != EINTR) {  // interrupted or not, it is released
    return failure("Error closing socket", errno);
  }
  return nullptr;
}

void platform_error_text(unsigned code, char* buffer, std::size_t capacity) {
  std::snprintf(buffer, capacity, "%s", std::strerror(static_cast<int>(code)));
}

}  // namespace morvex
