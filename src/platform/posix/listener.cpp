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
#include <vector>

#include "platform/system_socket.h"

namespace morvex {
namespace {

constexpr int kBacklog = 512;

volatile std::sig_atomic_t g_stopRequested = 0;
sigset_t g_signalsWhileWaiting;

void requestStop(int) { g_stopRequested = 1; }

int descriptorOf(SocketHandle socket) { return static_cast<int>(socket); }

}  // namespace

SocketHandle platform_accept(SocketHandle listener) {
  return ::accept4(descriptorOf(listener), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

bool platform_exhausted(int code) {
  return code == EMFILE || code == ENFILE || code == ENOBUFS || code == ENOMEM;
}

Listener::Listener(std::uint16_t port)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
  if (handle() == kInvalidSocket) {
    throwSocketError("Cannot create a socket");
  }
  const int on = 1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  const int descriptor = descriptorOf(handle());
  if (::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
      ::bind(descriptor, generic, length) != 0 || ::listen(descriptor, kBacklog) != 0 ||
      ::getsockname(descriptor, generic, &length) != 0) {
    throwSocketError("Cannot listen on 127.0.0.1:" + std::to_string(port));
  }
  port_ = ntohs(address.sin_port);
}

void catchStopRequests() {
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGINT);
  sigaddset(&stopSignals, SIGTERM);
  // They arrive only during a wait, so that none is missed between a check and a wait.
  ::sigprocmask(SIG_BLOCK, &stopSignals, &g_signalsWhileWaiting);
  sigdelset(&g_signalsWhileWaiting, SIGINT);
  sigdelset(&g_signalsWhileWaiting, SIGTERM);

  struct sigaction action {};
  action.sa_handler = requestStop;
  ::sigaction(SIGINT, &action, nullptr);
  ::sigaction(SIGTERM, &action, nullptr);
}

// A wait that finds a socket ready delivers no signal. While clients keep the server busy, the signal is
// pending.
bool stopRequested() {
  sigset_t pending;
  ::sigpending(&pending);
  return g_stopRequested != 0 || sigismember(&pending, SIGINT) == 1 || sigismember(&pending, SIGTERM) == 1;
}

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
  if (::ppoll(polled.data(), polled.size(), time ? &limit : nullptr, &g_signalsWhileWaiting) < 0) {
    if (errno == EINVAL) {  // the limit of descriptors has been lowered below the number of sockets
      const timespec nap{0, 50'000'000};
      (void)::ppoll(nullptr, 0, &nap, &g_signalsWhileWaiting);
      return;  // all may be ready
    }
    if (errno != EINTR) {
      throwSocketError("Cannot wait for clients");
    }
  }
  for (std::size_t i = 0; i < watches.size(); ++i) {
    watches[i].input = (polled[i].revents & POLLIN) != 0;
    watches[i].output = (polled[i].revents & POLLOUT) != 0;
    const int gone = watches[i].input ? POLLERR | POLLNVAL : POLLERR | POLLNVAL | POLLHUP;
    watches[i].failed = (polled[i].revents & gone) != 0;
  }
}

}  // namespace morvex
