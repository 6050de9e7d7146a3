#include "foundation/socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>

static std::string received(SocketHandle handle) {
  char buffer[100000];
  std::size_t count = 0;
  const char* message = socket_recv(handle, buffer, sizeof buffer, count);
  return message == nullptr ? std::string(buffer, count) : message;
}

TEST(Socket, CarriesBytesBothWaysAndSaysWhatFailed) {
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in name{};
  socklen_t length = sizeof name;
  listen(listener, 1);
  getsockname(listener, reinterpret_cast<sockaddr*>(&name), &length);
  const std::uint16_t port = ntohs(name.sin_port);
  SocketHandle client = kInvalidSocket, none = 99;
  const auto connect = [&](SocketHandle& socket) {
    return socket_connect(htonl(INADDR_LOOPBACK), port, socket, kSocketNonBlocking | kSocketNoDelay);
  };
  ASSERT_STREQ(connect(client), nullptr);
  const int peer = accept(listener, nullptr, nullptr);
  close(listener);
  EXPECT_STREQ(connect(none), "Error connecting: Connection refused (111)");
  EXPECT_EQ(none, kInvalidSocket);
  const std::string sent(8000000, 'x');
  std::thread reader([&] {
    for (std::size_t count = 0; count < sent.size();) {
      count += received(peer).size();
    }
    send(peer, "done", 4, 0);
    close(peer);
  });
  EXPECT_FALSE(socket_readable(client, 0));
  EXPECT_STREQ(socket_send(client, sent.data(), sent.size()), nullptr);
  EXPECT_EQ(received(client), "done");
  reader.join();
  EXPECT_TRUE(socket_readable(client, 60));
  EXPECT_EQ(received(client), "");
  signal(SIGPIPE, SIG_DFL);
  shutdown(static_cast<int>(client), SHUT_WR);
  EXPECT_STREQ(socket_send(client, "x", 1),
               "Bad error without sleep happened in socket_send(): Broken pipe (32)");
  EXPECT_EQ(socket_close(client), nullptr);
  EXPECT_EQ(received(-1), "Bad error happened without sleep in socket_recv(): Bad file descriptor (9)");
}

TEST(SocketNames, DottedAddressesAndMessages) {
  std::uint32_t address = 0;
  EXPECT_TRUE(socket_resolve("255.255.255.255", address) == nullptr && address == 0xffffffff);
  const char* inner = socket_resolve("", address);
  EXPECT_EQ(std::string(socket_format("(%s) %300s", inner, "")).size(), 255u);
  EXPECT_STREQ(inner, "Error resolving \"\": Name or service not known");
}
