#include "platform/socket.h"

#include <winsock2.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace morvex {
namespace {

constexpr long kTimeout = 600;  // seconds that a non-blocking socket may keep a call waiting

SOCKET socketOf(SocketHandle socket) { return static_cast<SOCKET>(socket); }

// Joins the words of a failed step with the system's text and number.
const char* failure(const char* words, int code) {
  return socket_format("%s: %s (%d)", words, socket_error_text(static_cast<unsigned>(code)), code);
}

const char* failure(const char* words) { return failure(words, WSAGetLastError()); }

struct SocketSet {
  explicit SocketSet(SOCKET socket) : members{1, {socket}} {}
  bool has(SOCKET socket) { return __WSAFDIsSet(socket, &members) != 0; }
  fd_set members;
};

// Returns how many sockets are ready, 0 after that many seconds, or -1.
int waitFor(fd_set* reading, fd_set* writing, fd_set* failing, long seconds) {
  fd_set none{};
  timeval time{seconds, 0};
  const auto orNone = [&none](fd_set* set) { return set == nullptr ? &none : set; };
  return select(0, orNone(reading), orNone(writing), orNone(failing), &time);
}

int waitToRead(SOCKET socket, long seconds) {
  SocketSet set(socket);
  return waitFor(&set.members, nullptr, nullptr, seconds);
}

int waitToWrite(SOCKET socket, long seconds) {
  SocketSet set(socket);
  return waitFor(nullptr, &set.members, nullptr, seconds);
}

bool setNonBlocking(SOCKET socket, bool nonBlocking) {
  unsigned long argument = nonBlocking ? 1 : 0;
  return ioctlsocket(socket, static_cast<long>(FIONBIO), &argument) == 0;
}

bool setNoDelay(SOCKET socket, bool noDelay) {
  const int argument = noDelay ? 1 : 0;
  return setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&argument),
                    sizeof argument) == 0;
}

// Waits for a connection that the system goes on making by itself.
const char* finishConnecting(SOCKET socket) {
  SocketSet connected(socket), failed(socket);
  const int result = waitFor(nullptr, &connected.members, &failed.members, kTimeout);
  if (result == 0) {
    return "Connection timed out";
  }
  if (result != 1) {
    return socket_format("Error connecting: Select returned: %d", result);
  }
  if (connected.has(socket)) {
    return nullptr;
  }
  if (!failed.has(socket)) {
    return "Error connecting: Select returned, but socket isn't present";
  }
  int code = 0;
  int length = sizeof code;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&code), &length) != 0) {
    return failure("Error retrieving connection status");
  }
  return failure("Error connecting", code);
}

const char* setUpAndConnect(SOCKET socket, const sockaddr_in& peer, unsigned flags) {
  if (!setNonBlocking(socket, (flags & kSocketNonBlocking) != 0)) {
    return failure("Error setting socket to nonblocking");
  }
  if (!setNoDelay(socket, (flags & kSocketNoDelay) != 0)) {
    return failure("Error disabling Nagle");
  }
  if (connect(socket, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
    return nullptr;
  }
  const int code = WSAGetLastError();
  return code == WSAEWOULDBLOCK ? finishConnecting(socket) : failure("Error connecting", code);
}

// As much as one call can be asked for.
int atMost(std::size_t length) { return static_cast<int>(std::min<std::size_t>(length, INT_MAX)); }

}  // namespace

const char* socket_startup() {
  static bool started = false;
  if (started) {
    return nullptr;
  }
  constexpr WORD kVersion = 2;  // 2.0
  WSADATA ignored;
  if (const int code = WSAStartup(kVersion, &ignored); code != 0) {
    return socket_format("Error with wsastartup: %s (%d)\n", socket_error_text(static_cast<unsigned>(code)),
                         code);
  }
  started = true;
  return nullptr;
}

const char* socket_resolve(const char* host, std::uint32_t& address) {
  address = inet_addr(host);
  if (address != INADDR_NONE) {
    return nullptr;
  }
  const hostent* found = gethostbyname(host);
  if (found == nullptr) {
    const auto code = static_cast<unsigned>(WSAGetLastError());
    return socket_format("Error resolving \"%s\": %s", host, socket_error_text(code));
  }
  const char* first = found->h_addr_list[0];
  if (first == nullptr) {
    return socket_format("No addresses found when resolving \"%s\"", host);
  }
  std::memcpy(&address, first, sizeof address);
  return nullptr;
}

const char* socket_connect(std::uint32_t address, std::uint16_t port, SocketHandle& socket, unsigned flags) {
  socket = kInvalidSocket;
  const SOCKET made = ::socket(AF_INET, SOCK_STREAM, 0);
  if (made == INVALID_SOCKET) {
    return failure("Error creating socket");
  }
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  if (const char* message = setUpAndConnect(made, peer, flags)) {
    closesocket(made);
    return message;
  }
  socket = static_cast<SocketHandle>(made);
  return nullptr;
}

const char* socket_send(SocketHandle socket, const void* buffer, std::size_t length) {
  const auto* bytes = static_cast<const char*>(buffer);
  do {
    const int asked = atMost(length);
    const int count = send(socketOf(socket), bytes, asked, 0);
    if (count > asked) {
      return "send() sent too much - this is a Winsock error";
    }
    if (count >= 0) {
      bytes += count;
      length -= static_cast<std::size_t>(count);
      continue;
    }
    const int code = WSAGetLastError();
    if (code != WSAEWOULDBLOCK) {
      return failure("Bad error without sleep happened in socket_send()", code);
    }
    const int result = waitToWrite(socketOf(socket), kTimeout);
    if (result == 0) {
      return "Timeout in socket_send()";
    }
    if (result != 1) {
      return failure("Bad error after sleep happened in socket_send()");
    }
  } while (length > 0);
  return nullptr;
}

const char* socket_recv(SocketHandle socket, void* buffer, std::size_t length, std::size_t& received) {
  while (true) {
    const int count = recv(socketOf(socket), static_cast<char*>(buffer), atMost(length), 0);
    if (count != SOCKET_ERROR) {
      received = static_cast<std::size_t>(count);
      return nullptr;
    }
    const int code = WSAGetLastError();
    if (code != WSAEWOULDBLOCK) {
      return failure("Bad error happened without sleep in socket_recv()", code);
    }
    const int result = waitToRead(socketOf(socket), kTimeout);
    if (result == 0) {
      return "Timeout in socket_recv()";
    }
    if (result != 1) {
      return failure("Bad error happened in socket_recv()");
    }
  }
}

bool socket_readable(SocketHandle socket, int seconds) { return waitToRead(socketOf(socket), seconds) == 1; }

const char* socket_close(SocketHandle socket) {
  if (!setNonBlocking(socketOf(socket), false)) {
    return failure("socket_close: Error at ioctlsocket");
  }
  shutdown(socketOf(socket), SD_BOTH);
  return closesocket(socketOf(socket)) == 0 ? nullptr : failure("Error closing socket");
}

void platform_error_text(unsigned code, char* buffer, std::size_t capacity) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  if (FormatMessageA(kFlags, nullptr, code, 0, buffer, static_cast<DWORD>(capacity), nullptr) == 0) {
    std::snprintf(buffer, capacity, "%u (FormatMessage: %u)", code, static_cast<unsigned>(GetLastError()));
  }
}

}  // namespace morvex
