#include "platform/socket.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>
#include <thread>

#include "platform/listener.h"

using namespace morvex;

namespace {

std::string received(SocketHandle handle) {
  char buffer[100000];
  std::size_t count = 0;
  const char* message = socket_recv(handle, buffer, sizeof buffer, count);
  return message == nullptr ? std::string(buffer, count) : message;
}

// These words, and the system's text of the code that stands at the end.
void expectFailure(const std::string& message, const std::string& words) {
  const std::string number = message.substr(message.rfind('(') + 1);
  const std::string text = socket_error_text(static_cast<unsigned>(std::atoi(number.c_str())));
  EXPECT_EQ(message, words + ": " + text + " (" + number);
}

}  // namespace

TEST(Socket, CarriesBytesBothWaysAndSaysWhatFailed) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_DFL);  // a lost peer must be an error even so
#endif
  std::uint32_t address = 0;
  EXPECT_EQ(socket_startup(), nullptr);
  EXPECT_EQ(socket_resolve("127.0.0.1", address), nullptr);
  std::optional<Listener> listener{0};
  const auto connect = [&, port = listener->port()](SocketHandle& socket) {
    return socket_connect(address, port, socket, kSocketNonBlocking | kSocketNoDelay);
  };
  SocketHandle client = kInvalidSocket, none = 99;
  EXPECT_STREQ(connect(client), nullptr);
  Watch watch{listener->handle(), true, false};
  waitForSockets({&watch, 1}, std::nullopt);
  bool exhausted = false;
  std::optional<Peer> server = listener->accept(exhausted);
  EXPECT_FALSE(listener->accept(exhausted) || exhausted);
  listener.reset();
  expectFailure(connect(none), "Error connecting");
  EXPECT_EQ(none, kInvalidSocket);

  const std::string sent(8000000, 'x');
  std::thread reader([&] {
    std::uint8_t byte = 0;
    for (std::size_t count = server->receive({&byte, 1}).value_or(0); count < sent.size();) {
      count += received(server->handle()).size();
    }
    EXPECT_EQ(socket_send(server->handle(), "done", 4), nullptr);
    server.reset();
  });
  EXPECT_FALSE(socket_readable(client, 0));
  EXPECT_STREQ(socket_send(client, sent.data(), sent.size()), nullptr);
  EXPECT_EQ(received(client), "done");
  reader.join();
  EXPECT_TRUE(socket_readable(client, 60));
  EXPECT_EQ(received(client), "");
  const char* failure = nullptr;
  while (failure == nullptr) {
    failure = socket_send(client, "x", 1);
  }
  expectFailure(failure, "Bad error without sleep happened in socket_send()");
  EXPECT_EQ(socket_close(client), nullptr);
  expectFailure(received(kInvalidSocket), "Bad error happened without sleep in socket_recv()");
  expectFailure(socket_close(kInvalidSocket), "socket_close: Error at ioctlsocket");
}

TEST(SocketNames, DottedAddressesAndMessages) {
  std::uint32_t address = 0;
  EXPECT_TRUE(socket_resolve("255.255.255.255", address) == nullptr && address == 0xffffffff);
  const std::string inner = socket_resolve("no such host", address);
  EXPECT_TRUE(inner.starts_with("Error resolving \"no such host\": "));
  EXPECT_EQ(std::string(socket_format("(%s) %300s", inner.c_str(), "")).size(), 255u);
}
