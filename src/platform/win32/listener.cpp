#include "platform/listener.h"

#include <winsock2.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <vector>

#include "foundation/errors.h"

namespace morvex {
namespace {

constexpr int kBacklog = 512;

std::atomic<bool> g_stopRequested;

SOCKET socketOf(SocketHandle socket) { return static_cast<SOCKET>(socket); }

int atMost(std::size_t size) {
  return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

[[noreturn]] void fail(const std::string& what) {
  throwSystemError(what + ": " + socket_error_text(static_cast<unsigned>(WSAGetLastError())));
}

std::optional<std::size_t> nothingFor(int code) {
  return code == WSAEWOULDBLOCK ? std::optional<std::size_t>(0) : std::nullopt;
}

// A socket of that type on a port of the loopback address, which is free if it is given as 0.
OwnedSocket bindToLoopback(int type, std::uint16_t& port) {
  if (const char* message = socket_startup()) {
    throwSystemError(message);
  }
  OwnedSocket made(static_cast<SocketHandle>(::socket(AF_INET, type, 0)));
  if (made.handle() == kInvalidSocket) {
    fail("Cannot create a socket");
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
    fail("Cannot listen on 127.0.0.1:" + std::to_string(port));
  }
  port = ntohs(address.sin_port);
  return made;
}

// A socket that is connected to itself. What it is sent ends a wait.
SOCKET alarm() {
  static const OwnedSocket socket = [] {
    std::uint16_t port = 0;
    return bindToLoopback(SOCK_DGRAM, port);
  }();
  return socketOf(socket.handle());
}

// In a thread that the system makes for it.
BOOL WINAPI requestStop(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
    return FALSE;
  }
  g_stopRequested = true;
  ::send(alarm(), "", 1, 0);
  return TRUE;
}

// A set of any size, where fd_set ends at 64 sockets: a count, and the sockets behind it.
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

OwnedSocket::~OwnedSocket() {
  if (handle_ != kInvalidSocket) {
    ::closesocket(socketOf(handle_));
  }
}

std::optional<std::size_t> Peer::receive(std::span<std::uint8_t> buffer) {
  auto* const bytes = reinterpret_cast<char*>(buffer.data());
  const int received = ::recv(socketOf(handle()), bytes, atMost(buffer.size()), 0);
  if (received > 0) {
    return static_cast<std::size_t>(received);
  }
  return received == 0 ? std::nullopt : nothingFor(WSAGetLastError());
}

std::optional<std::size_t> Peer::send(std::span<const std::uint8_t> bytes) {
  const auto* const data = reinterpret_cast<const char*>(bytes.data());
  const int sent = ::send(socketOf(handle()), data, atMost(bytes.size()), 0);
  return sent >= 0 ? static_cast<std::size_t>(sent) : nothingFor(WSAGetLastError());
}

// Without SO_REUSEADDR, with which this system would let two servers have one port.
Listener::Listener(std::uint16_t port) : socket_(bindToLoopback(SOCK_STREAM, port)), port_(port) {}

std::optional<Peer> Listener::accept(bool& exhausted) {
  OwnedSocket accepted(static_cast<SocketHandle>(::accept(socketOf(handle()), nullptr, nullptr)));
  if (accepted.handle() == kInvalidSocket) {
    const int code = WSAGetLastError();
    exhausted = code == WSAEMFILE || code == WSAENOBUFS;
    return std::nullopt;
  }
  exhausted = false;  // the new socket does not block either
  const int on = 1;   // an answer leaves at once
  (void)::setsockopt(socketOf(accepted.handle()), IPPROTO_TCP, TCP_NODELAY,
                     reinterpret_cast<const char*>(&on), sizeof on);
  return Peer(std::move(accepted));
}

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
    fail("Cannot wait for clients");
  }
  for (Watch& watch : watches) {
    watch.input = reading.has(socketOf(watch.socket));
    watch.output = writing.has(socketOf(watch.socket));
  }
}

}  // namespace morvex
