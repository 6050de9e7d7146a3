#include "platform/socket.h"

#include <gmock/gmock.h>

#include <string>

#include "platform/listener.h"

using namespace morvex;

TEST(Winsock, CodesAreItsOwnAndTextsTheSystems) {
  std::uint32_t address = 0;
  SocketHandle none = 99;
  EXPECT_TRUE(socket_startup() == nullptr && socket_startup() == nullptr);
  EXPECT_EQ(socket_resolve("no such host", address),
            "Error resolving \"no such host\": " + std::string(socket_error_text(11001)));
  const std::uint16_t port = Listener(0).port();
  socket_resolve("127.0.0.1", address);
  EXPECT_THAT(socket_connect(address, port, none, 0), testing::EndsWith(" (10061)"));
  EXPECT_THAT(socket_connect(address, port, none, kSocketNonBlocking), testing::EndsWith(" (10061)"));
  EXPECT_STREQ(socket_error_text(0x20000000), "536870912 (FormatMessage: 317)");
  EXPECT_NE(std::string(socket_error_text(5)).back(), '\n');
}
