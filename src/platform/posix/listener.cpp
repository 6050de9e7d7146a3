#include "platform/listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/errors.h"

namespace morvex {
namespace {

constexpr int kBacklog = 512;

volatile std::sig_atomic_t g_stopRequested = 0;
sigset_t g_signalsWhileWaiting;

void requestStop(int) { g_stopRequested = 1; }

[[noreturn]] void fail(const std::string& what) {
  throwSystemError(what + ": " + std::generic_category().message(errno));
}

int descriptorOf(SocketHandle socket) { return static_cast<int>(socket); }

bool isTemporary() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

// Without it the client still works, only later.
void switchOn(int socket, int option) {
  const int on = 1;
  (void)::setsockopt(socket, IPPROTO_TCP, option, &on, sizeof on);
}

// A client that collects small messages until the one before is acknowledged would wait for the end of our
// delay. The system goes back to delaying by itself, so this is asked for again and again.
void acknowledgeAtOnce(int socket) { switchOn(socket, TCP_QUICKACK); }

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

OwnedSocket::~OwnedSocket() {
  if (handle_ != kInvalidSocket) {
    ::close(descriptorOf(handle_));
  }
}

std::optional<std::size_t> Peer::receive(std::span<std::uint8_t> buffer) {
  const ssize_t received = ::recv(descriptorOf(handle()), buffer.data(), buffer.size(), 0);
  if (received > 0) {
    acknowledgeAtOnce(descriptorOf(handle()));
    return static_cast<std::size_t>(received);
  }
  return received < 0 && isTemporary() ? std::optional<std::size_t>(0) : std::nullopt;
}

std::optional<std::size_t> Peer::send(std::span<const std::uint8_t> bytes) {
  const ssize_t sent = ::send(descriptorOf(handle()), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  if (sent >= 0) {
    return static_cast<std::size_t>(sent);
  }
  return isTemporary() ? std::optional<std::size_t>(0) : std::nullopt;
}

Listener::Listener(std::uint16_t port)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  if (handle() == kInvalidSocket) {
    fail("Cannot create a socket");
  }
  const int on = 1;
  sockaddr_in address = loopback(port);
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (::setsockopt(descriptorOf(handle()), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      ::bind(descriptorOf(handle()), generic, length) != 0 ||
      ::listen(descriptorOf(handle()), kBacklog) != 0 ||
      ::getsockname(descriptorOf(handle()), generic, &length) != 0) {
    fail("Cannot listen on 127.0.0.1:" + std::to_string(port));
  }
  port_ = ntohs(address.sin_port);
}

std::optional<Peer> Listener::accept(bool& exhausted) {
  exhausted = false;
  OwnedSocket accepted(::accept4(descriptorOf(handle()), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (accepted.handle() == kInvalidSocket) {
    exhausted = errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
    return std::nullopt;
  }
  switchOn(descriptorOf(accepted.handle()), TCP_NODELAY);  // an answer leaves at once
  acknowledgeAtOnce(descriptorOf(accepted.handle()));
  return Peer(std::move(accepted));
}

void catchStopRequests() {
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  // Delivered while waiting and at no other moment, so that none is missed between a check and a wait.
  ::sigprocmask(SIG_BLOCK, &stopSignals, &g_signalsWhileWaiting);
  sigdelset(&g_signalsWhileWaiting, SIGINT);
  sigdelset(&g_signalsWhileWaiting, SIGTERM);

  struct sigaction action {};
  action.sa_handler = requestStop;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

bool stopRequested() { return g_stopRequested != 0; }

void waitForSockets(std::span<Watch> watches, std::optional<std::chrono::milliseconds> time) {
  std::vector<pollfd> polled;
  polled.reserve(watches.size());
  for (const Watch& watch : watches) {
    const int events = (watch.input ? POLLIN : 0) | (watch.output ? POLLOUT : 0);
    polled.push_back({descriptorOf(watch.socket), static_cast<short>(events), 0});
  }
  timespec limit{};
  if (time) {
    const auto count = time->count();
    limit.tv_sec = static_cast<time_t>(count / 1000);
    limit.tv_nsec = static_cast<decltype(limit.tv_nsec)>(count % 1000 * 1'000'000);
  }
  if (::ppoll(polled.data(), polled.size(), time ? &limit : nullptr, &g_signalsWhileWaiting) < 0 &&
      errno != EINTR) {
    fail("Cannot wait for clients");
  }
  for (std::size_t i = 0; i < watches.size(); ++i) {
    watches[i].input = (polled[i].revents & POLLIN) != 0;
    watches[i].output = (polled[i].revents & POLLOUT) != 0;
    const int gone = watches[i].input ? POLLERR | POLLNVAL : POLLERR | POLLNVAL | POLLHUP;
    watches[i].failed = (polled[i].revents & gone) != 0;
  }
}

}  // namespace morvex
