#include "platform/socket.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/listener.h"

using namespace morvex;

TEST(Winsock, CodesAreItsOwnAndTextsTheSystems) {
  std::size_t count = 0;
  std::uint32_t address = 0;
  SocketHandle none = 99;
  EXPECT_TRUE(socket_startup() == nullptr && socket_startup() == nullptr);
  EXPECT_EQ(socket_resolve("no such host", address),
            "Error resolving \"no such host\": " + std::string(socket_error_text(11001)));
  const std::uint16_t port = Listener(0).port();
  const auto withText = [](std::string words, unsigned code) {
    return words + ": " + socket_error_text(code) + " (" + std::to_string(code) + ")";
  };
  socket_resolve("127.0.0.1", address);
  EXPECT_EQ(socket_connect(address, port, none, 0), withText("Error connecting", 10061));
  EXPECT_EQ(socket_connect(address, port, none, kSocketNonBlocking), withText("Error connecting", 10061));
  EXPECT_EQ(socket_recv(none, &count, 1, count),
            withText("Bad error happened without sleep in socket_recv()", 10038));
  EXPECT_STREQ(socket_error_text(0x20000000), "536870912 (FormatMessage: 317)");
  EXPECT_NE(std::string(socket_error_text(5)).back(), '\n');
}
