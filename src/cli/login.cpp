#include "cli/login.h"

#include <array>
#include <cstdint>
#include <memory>

#include "cli/global_options.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "foundation/wipe.h"
#include "platform/console.h"
#include "protocol/leaf.h"

namespace morvex {

Connection* g_connection = nullptr;
std::string g_rootObjectId;

namespace {

constexpr const char* kClientName = "Morvex Tool";

// The run may last for days, and needs the secrets only for the log-in.
struct SecretsWiped {
  ~SecretsWiped() {
    wipe(g_password);
    wipe(g_sessionKey);
  }
};

void askForPassword() {
  std::array<char, 64> answer{};
  const bool answered = console_read_password(answer.data(), answer.size(), "Password: ") == nullptr;
  if (answered) {
    g_password = answer.data();
  }
  wipe(answer.data(), answer.size());
  if (!answered) {
    throw error::EFatal("Error getting password");
  }
}

BigNum sessionKey() {
  BigNum key;
  key.fromHex(g_sessionKey);
  if (key.dataCapacity() > protocol::kLongestBigNum) {
    throw error::EParseError("The session key has more than " + uintToString(protocol::kLongestBigNum) +
                             " bytes");
  }
  return key;
}

std::unique_ptr<Connection> openSession() {
  const auto port = static_cast<std::uint32_t>(g_port);
  if (!g_sessionKey.empty()) {
    return Connection::reopenSession(kSocketIo, g_server, port, sessionKey());
  }
  if (!g_passwordGiven) {
    askForPassword();
  }
  return Connection::newSession(kSocketIo, g_server, port, kClientName, g_login, g_password, g_domain);
}

}  // namespace

void login() {
  const SecretsWiped onTheWayOut;
  g_connection = openSession().release();
  if (g_connection == nullptr) {
    throwSystemError("Protocol error");
  }
  g_rootObjectId = g_connection->rootObjectId();
}

}  // namespace morvex
