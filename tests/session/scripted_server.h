#pragma once

#include "protocol/buffer_io.h"
#include "session/connection.h"
#include "support/reading.h"

namespace morvex {

// A server that plays a script. There is one at a time.
struct ScriptedServer {
  ScriptedServer() { g_current = this; }

  void sends(const char* chunk) { script.incoming.push_back(bytesOf(chunk)); }

  // What the client has sent since the last call.
  std::vector<std::string> takeWritten() { return std::exchange(script.written, {}); }

  static std::unique_ptr<old_protocol::BasicIo> open(const std::string&, std::uint32_t) {
    return std::make_unique<old_protocol::BufferIo>(std::make_unique<ScriptedIo>(g_current->script));
  }
  static std::unique_ptr<Connection> logIn() {
    return Connection::newSession({open}, "host", 3241, "cn", "li", "pw", "d");
  }
  static std::unique_ptr<Connection> reopen() {
    return Connection::reopenSession({open}, "host", 3241, 0x80);
  }

  Script script;
  static inline ScriptedServer* g_current = nullptr;
};

inline constexpr const char* kOffer = "61 80 02 02 02 03 A0 80 00 00 00 00";
// Key 0x1122, root "1F".
inline constexpr const char* kSession = "71 80 02 02 11 22 02 01 00 04 02 '1F' 04 01 'x' 04 01 'y' 00 00";

}  // namespace morvex
