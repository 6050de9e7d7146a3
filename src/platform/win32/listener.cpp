#include "platform/listener.h"

#include <winsock2.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

#include "foundation/errors.h"
#include "platform/system_socket.h"

namespace morvex {
namespace {

constexpr int kBacklog = 512;

std::atomic<bool> g_stopRequested;

SOCKET socketOf(SocketHandle socket) { return static_cast<SOCKET>(socket); }

// Binds a socket of that type to a port of the loopback address; 0 stands for a free one.
OwnedSocket bindToLoopback(int type, std::uint16_t& port) {
  if (const char* message = socket_startup()) {
    throwSystemError(message);
  }
  OwnedSocket made(static_cast<SocketHandle>(::socket(AF_INET, type, 0)));
  if (made.handle() == kInvalidSocket) {
    throwSocketError("Cannot create a socket");
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  int length = sizeof address;
  unsigned long nonBlocking = 1;
  const SOCKET socket = socketOf(made.handle());
  if (::bind(socket, generic, length) != 0 || ::getsockname(socket, generic, &length) != 0 ||
      (type == SOCK_DGRAM && ::connect(socket, generic, length) != 0) ||
      (type == SOCK_STREAM && ::listen(socket, kBacklog) != 0) ||
      ::ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking) != 0) {
    throwSocketError("Cannot listen on 127.0.0.1:" + std::to_string(port));
  }
  port = ntohs(address.sin_port);
  return made;
}

// A socket that is connected to itself: a byte sent to it ends a wait.
SOCKET alarm() {
  static const OwnedSocket socket = [] {
    std::uint16_t port = 0;
    return bindToLoopback(SOCK_DGRAM, port);
  }();
  return socketOf(socket.handle());
}

// The system calls it in a thread of its own.
BOOL WINAPI requestStop(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
    return FALSE;
  }
  g_stopRequested = true;
  ::send(alarm(), "", 1, 0);
  return TRUE;
}

// A set of any size with the layout of an fd_set, which ends at 64 sockets: a count, then the sockets.
class SocketSet {
 public:
  void add(SOCKET socket) { room_.push_back(socket); }
  fd_set* members() {
    auto* const set = reinterpret_cast<fd_set*>(room_.data());
    set->fd_count = static_cast<u_int>(room_.size() - 1);
    return set;
  }
  bool has(SOCKET socket) { return __WSAFDIsSet(socket, reinterpret_cast<fd_set*>(room_.data())) != 0; }

 private:
  static_assert(offsetof(fd_set, fd_array) == sizeof(SOCKET));
  std::vector<SOCKET> room_{0};
};

}  // namespace

// Does without SO_REUSEADDR: it would let two servers have one port on this system.
Listener::Listener(std::uint16_t port) : socket_(bindToLoopback(SOCK_STREAM, port)), port_(port) {}

// The new socket does not block, like its listener.
SocketHandle platform_accept(SocketHandle listener) {
  return static_cast<SocketHandle>(::accept(socketOf(listener), nullptr, nullptr));
}

bool platform_exhausted(int code) { return code == WSAEMFILE || code == WSAENOBUFS; }

void catchStopRequests() {
  alarm();
  if (SetConsoleCtrlHandler(requestStop, TRUE) == 0) {
    throwSystemError(std::string("Cannot catch Ctrl+C: ") + socket_error_text(GetLastError()));
  }
}

bool stopRequested() { return g_stopRequested; }

void waitForSockets(std::span<Watch> watches, std::optional<std::chrono::milliseconds> time) {
  SocketSet reading, writing, none;
  reading.add(alarm());
  for (const Watch& watch : watches) {
    if (watch.input) {
      reading.add(socketOf(watch.socket));
    }
    if (watch.output) {
      writing.add(socketOf(watch.socket));
    }
  }
  timeval limit{};
  if (time) {
    const auto longest = std::chrono::milliseconds(std::chrono::hours(24));
    const auto count = static_cast<long>(std::min(*time, longest).count());
    limit = {count / 1000, count % 1000 * 1000};
  }
  if (::select(0, reading.members(), writing.members(), none.members(), time ? &limit : nullptr) < 0) {
    throwSocketError("Cannot wait for clients");
  }
  for (Watch& watch : watches) {
    watch.input = reading.has(socketOf(watch.socket));
    watch.output = writing.has(socketOf(watch.socket));
  }
}

}  // namespace morvex
