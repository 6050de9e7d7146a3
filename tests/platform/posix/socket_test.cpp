#include "platform/socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <csignal>

#include "platform/listener.h"

using namespace morvex;

TEST(PosixSocket, SaysWhatTheSystemSays) {
  constexpr std::uint32_t kLoopback = 0x0100007f;  // in network byte order
  SocketHandle client = kInvalidSocket;
  {
    Listener listener(0);
    ASSERT_STREQ(socket_connect(kLoopback, listener.port(), client, 0), nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    shutdown(static_cast<int>(client), SHUT_WR);
    EXPECT_STREQ(socket_send(client, "x", 1),
                 "Bad error without sleep happened in socket_send(): Broken pipe (32)");
    EXPECT_EQ(socket_close(client), nullptr);
  }
  std::uint32_t address = 0;
  EXPECT_STREQ(socket_resolve("", address), "Error resolving \"\": Name or service not known");
}
