#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "protocol/ber_reader.h"
#include "support/scripted_io.h"

namespace morvex {

// A reader on a script.
struct Reading {
  explicit Reading(std::deque<std::vector<std::uint8_t>> incoming = {},
                   const protocol::BerProtocol& catalogue = protocol::guiProtocol::instance())
      : script{std::move(incoming), {}, {}}, reader(catalogue, std::make_unique<ScriptedIo>(script)) {}

  // Lets the peer open as legacy peers do, with a ClientWants.
  void openLegacy() {
    script.incoming.push_front(bytesOf("60 80 02 02 01 00 61 80 16 00 16 00 16 00 01 00 00 00 00 00"));
  }

  // All that finish before the script ends.
  std::vector<std::unique_ptr<protocol::BerValue>> messages() {
    while (!script.incoming.empty()) {
      reader.read();
    }
    std::vector<std::unique_ptr<protocol::BerValue>> all;
    while (auto message = reader.nextMessage()) {
      all.push_back(std::move(message));
    }
    return all;
  }

  Script script;
  old_protocol::BerReader reader;
};

// A catalogue of these classes, which need not be messages.
template <class... Classes>
struct Only final : protocol::BerProtocol {
  std::unique_ptr<protocol::BerValue> makeMessage(std::uint32_t tag, bool legacy) const override {
    return protocol::makeOneOf<Classes...>(tag, legacy);
  }
};

// The message with these bytes, behind the opening of a legacy peer if it is one.
inline std::unique_ptr<protocol::BerValue> decoded(
    std::string_view hex, bool legacy = false,
    const protocol::BerProtocol& catalogue = protocol::guiProtocol::instance()) {
  Reading reading({bytesOf(hex)}, catalogue);
  if (legacy) {
    reading.openLegacy();
  }
  return std::move(reading.messages().at(legacy ? 1 : 0));
}

// The same bytes once a level, as deep as no stack is.
constexpr std::size_t kDepth = 200000;
inline std::string deep(std::string_view hex, std::size_t levels = kDepth) {
  std::string text;
  for (; levels > 0; --levels) {
    text += hex;
  }
  return text;
}

}  // namespace morvex
