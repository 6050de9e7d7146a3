#include "foundation/socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

namespace {

const std::uint32_t kLoopback = htonl(INADDR_LOOPBACK);

std::string received(SocketHandle handle) {
  char buffer[100000];
  std::size_t count = 0;
  const char* message = socket_recv(handle, buffer, sizeof buffer, count);
  return message == nullptr ? std::string(buffer, count) : message;
}

// Both ends of a connection over loopback. The port is closed once it is made.
class Socket : public testing::TestWithParam<unsigned> {
 protected:
  void SetUp() override {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in name{};
    socklen_t length = sizeof name;
    listen(listener, 1);
    getsockname(listener, reinterpret_cast<sockaddr*>(&name), &length);
    port = ntohs(name.sin_port);
    ASSERT_STREQ(socket_connect(kLoopback, port, client, GetParam()), nullptr);
    peer = accept(listener, nullptr, nullptr);
    close(listener);
  }
  void TearDown() override { close(peer); }

  SocketHandle client = kInvalidSocket;
  int peer = -1;
  std::uint16_t port = 0;
};
INSTANTIATE_TEST_SUITE_P(Mode, Socket, testing::Values(4, kSocketNonBlocking | kSocketNoDelay));

}  // namespace

TEST_P(Socket, CarriesBytesUntilThePeerCloses) {
  const std::string sent(8000000, 'x');
  std::size_t count = 0;
  std::thread reader([&] {
    while (count < sent.size()) {
      count += received(peer).size();
    }
    send(peer, "done", 4, 0);
    shutdown(peer, SHUT_WR);
  });
  EXPECT_FALSE(socket_readable(client, 0));
  EXPECT_EQ(socket_send(client, nullptr, 0), nullptr);
  EXPECT_STREQ(socket_send(client, sent.data(), sent.size()), nullptr);
  EXPECT_EQ(received(client), "done");
  reader.join();
  EXPECT_TRUE(socket_readable(client, 60));
  EXPECT_EQ(received(client), "");
  EXPECT_EQ(socket_close(client), nullptr);
}

TEST_P(Socket, SaysWhatFailed) {
  SocketHandle none = 99;
  EXPECT_STREQ(socket_connect(kLoopback, port, none, GetParam()),
               "Error connecting: Connection refused (111)");
  EXPECT_EQ(none, kInvalidSocket);
  signal(SIGPIPE, SIG_DFL);
  shutdown(static_cast<int>(client), SHUT_WR);
  EXPECT_STREQ(socket_send(client, "x", 1),
               "Bad error without sleep happened in socket_send(): Broken pipe (32)");
  socket_close(client);
  EXPECT_EQ(received(-1), "Bad error happened without sleep in socket_recv(): Bad file descriptor (9)");
  EXPECT_STREQ(socket_close(-1), "socket_close: Error at ioctlsocket: Bad file descriptor (9)");
}

TEST(SocketNames, DottedAddressesAndMessages) {
  std::uint32_t address = 0;
  EXPECT_TRUE(socket_resolve("127.0.0.1", address) == nullptr && address == kLoopback);
  EXPECT_TRUE(socket_resolve("255.255.255.255", address) == nullptr && address == 0xffffffff);
  const char* inner = socket_resolve("", address);
  EXPECT_EQ(std::string(socket_format("(%s) %300s", inner, "")).size(), 255u);
  EXPECT_STREQ(inner, "Error resolving \"\": Name or service not known");
}
