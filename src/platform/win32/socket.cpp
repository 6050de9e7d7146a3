#include <winsock2.h>
// Behind the header that it needs.
#include <mstcpip.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "platform/system_socket.h"

namespace morvex {
namespace {

SOCKET socketOf(SocketHandle socket) { return static_cast<SOCKET>(socket); }

// TCP_KEEPCNT and TCP_MAXRT of ws2ipdef.h, which not every compiler brings.
constexpr int kKeepCount = 16, kMaxRetransmission = 5;

bool set(SocketHandle socket, int option, int value) {
  return setsockopt(socketOf(socket), IPPROTO_TCP, option, reinterpret_cast<const char*>(&value),
                    sizeof value) == 0;
}

// As much as one call can be asked for.
int atMost(std::size_t count) { return static_cast<int>(std::min<std::size_t>(count, INT_MAX)); }

}  // namespace

int platform_socket_error() { return WSAGetLastError(); }

bool platform_interrupted(int) { return false; }  // this system has no signals

bool platform_would_block(int code) { return code == WSAEWOULDBLOCK; }

SocketHandle platform_open_socket() { return static_cast<SocketHandle>(socket(AF_INET, SOCK_STREAM, 0)); }

bool platform_set_non_blocking(SocketHandle socket, bool nonBlocking) {
  unsigned long argument = nonBlocking ? 1 : 0;
  return ioctlsocket(socketOf(socket), static_cast<long>(FIONBIO), &argument) == 0;
}

bool platform_set_no_delay(SocketHandle socket, bool noDelay) {
  return set(socket, TCP_NODELAY, noDelay ? 1 : 0);
}

// Older systems lack the last two options. They send ten probes, and give up on data after their own time.
bool platform_watch_peer(SocketHandle socket) {
  tcp_keepalive times{1, 1000 * kFirstProbe, 1000 * kNextProbe};
  DWORD none = 0;
  const bool watched = WSAIoctl(socketOf(socket), SIO_KEEPALIVE_VALS, &times, sizeof times, nullptr, 0, &none,
                                nullptr, nullptr) == 0;
  set(socket, kKeepCount, kProbes);
  set(socket, kMaxRetransmission, kUnacknowledged);
  return watched;
}

void socket_gather(SocketHandle, bool) {}  // this system cannot

bool platform_connect(SocketHandle socket, std::uint32_t address, std::uint16_t port) {
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  return connect(socketOf(socket), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0;
}

int platform_wait(SocketHandle handle, Readiness wanted, int seconds, bool* settled) {
  const SOCKET socket = socketOf(handle);
  const fd_set only{1, {socket}}, none{};
  fd_set reading = wanted == Readiness::toRead ? only : none;
  fd_set writing = wanted == Readiness::toRead ? none : only;
  fd_set failing = wanted == Readiness::connected ? only : none;
  timeval limit{seconds, 0};
  const int result = select(0, &reading, &writing, &failing, seconds == kForEver ? nullptr : &limit);
  if (settled != nullptr) {
    *settled = __WSAFDIsSet(socket, &writing) != 0 || __WSAFDIsSet(socket, &failing) != 0;
  }
  return result;
}

bool platform_connection_error(SocketHandle socket, int& code) {
  int length = sizeof code;
  return getsockopt(socketOf(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&code), &length) == 0;
}

std::ptrdiff_t platform_send(SocketHandle socket, const void* bytes, std::size_t count) {
  return send(socketOf(socket), static_cast<const char*>(bytes), atMost(count), 0);
}

std::ptrdiff_t platform_receive(SocketHandle socket, void* room, std::size_t count) {
  return recv(socketOf(socket), static_cast<char*>(room), atMost(count), 0);
}

std::size_t platform_pending(SocketHandle socket) {
  unsigned long count = 0;
  return ioctlsocket(socketOf(socket), static_cast<long>(FIONREAD), &count) == 0 ? count : 0;
}

void platform_shutdown(SocketHandle socket) { shutdown(socketOf(socket), SD_BOTH); }

bool platform_close_socket(SocketHandle socket) { return closesocket(socketOf(socket)) == 0; }

void platform_error_text(unsigned code, char* buffer, std::size_t capacity) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  if (FormatMessageA(kFlags, nullptr, code, 0, buffer, static_cast<DWORD>(capacity), nullptr) == 0) {
    std::snprintf(buffer, capacity, "%u (FormatMessage: %u)", code, static_cast<unsigned>(GetLastError()));
  }
}

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

}  // namespace morvex
