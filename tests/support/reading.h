#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "foundation/errors.h"
#include "protocol/ber_error.h"
#include "protocol/ber_reader.h"
#include "protocol/leaf.h"
#include "support/wire.h"

namespace morvex {

// What a ScriptedIo plays and records. It belongs to the test, and the stream to its reader.
struct Script {
  std::deque<std::vector<std::uint8_t>> incoming;  // one read each; then the peer hangs up
  std::vector<std::string> written;                // in hex, one write each
  std::string calls;                               // r, w, f, and ~ for the destructor, in order
};

// A stream in memory.
struct ScriptedIo final : old_protocol::BasicIo {
  explicit ScriptedIo(Script& played) : script(played) {}
  ~ScriptedIo() override { script.calls += '~'; }

  void write(const std::uint8_t* bytes, std::size_t count) override {
    script.written.push_back(hexOf({bytes, count}));
    script.calls += 'w';
  }
  void flush() override { script.calls += 'f'; }
  std::size_t read(std::uint8_t* bytes, std::size_t capacity) override {
    script.calls += 'r';
    if (script.incoming.empty()) {
      throw error::ESystemError("the peer has hung up");
    }
    auto& chunk = script.incoming.front();
    const std::size_t count = std::min(capacity, chunk.size());
    std::copy_n(chunk.begin(), count, bytes);
    chunk.erase(chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(count));
    if (chunk.empty()) {
      script.incoming.pop_front();
    }
    return count;
  }

  Script& script;
};

// A reader on a script.
struct Reading {
  explicit Reading(std::deque<std::vector<std::uint8_t>> incoming = {})
      : script{std::move(incoming), {}, {}},
        reader(protocol::guiProtocol::instance(), std::make_unique<ScriptedIo>(script)) {}

  // The messages that are complete before the script ends.
  std::vector<std::unique_ptr<protocol::Record>> messages() {
    while (!script.incoming.empty()) {
      reader.read();
    }
    return finished();
  }
  // Without reading on.
  std::vector<std::unique_ptr<protocol::Record>> finished() {
    std::vector<std::unique_ptr<protocol::Record>> all;
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
  std::unique_ptr<protocol::Record> makeMessage(std::uint32_t tag, bool legacy) const override {
    return protocol::makeOneOf<Classes...>(tag, legacy);
  }
};

// The messages in these bytes. They arrive in two pieces, the first of this size, or byte by byte if it is 0.
inline auto decodedInPieces(std::span<const std::uint8_t> bytes, std::size_t first, bool legacy,
                            const protocol::BerProtocol& catalogue) {
  protocol::Decoder decoder(catalogue);
  decoder.setLegacy(legacy);
  std::size_t taken = 0;
  for (std::size_t end = 1; end <= bytes.size(); ++end) {
    if (first == 0 || end == first || end == bytes.size()) {
      taken += decoder.decode(bytes.subspan(taken, end - taken));
    }
  }
  return std::move(decoder.finished());
}

// The message with these bytes.
inline std::unique_ptr<protocol::Record> decoded(
    std::string_view hex, bool legacy = false,
    const protocol::BerProtocol& catalogue = protocol::guiProtocol::instance()) {
  return std::move(decodedInPieces(bytesOf(hex), SIZE_MAX, legacy, catalogue).at(0));
}

struct Outcome {
  std::unique_ptr<protocol::Record> message;  // null if it is not complete
  std::string refusal;
};

// What becomes of these bytes, which has to be the same whole, byte by byte, and in two pieces.
inline Outcome outcomeOf(std::string_view hex, bool legacy, const protocol::BerProtocol& catalogue) {
  const std::vector<std::uint8_t> bytes = bytesOf(hex);
  const auto inPieces = [&](std::size_t first) {
    Outcome outcome;
    outcome.refusal = textOf<protocol::EBer>([&] {
      auto messages = decodedInPieces(bytes, first, legacy, catalogue);
      outcome.message = messages.empty() ? nullptr : std::move(messages.front());
    });
    return outcome;
  };
  Outcome whole = inPieces(bytes.size());
  for (std::size_t first = 0; first < std::min<std::size_t>(bytes.size(), 100); ++first) {
    const Outcome cut = inPieces(first);
    if (cut.refusal != whole.refusal || !cut.message != !whole.message ||
        (whole.message && !(*cut.message == *whole.message))) {
      return {nullptr, whole.refusal + ", but cut at " + std::to_string(first) + ": " + cut.refusal};
    }
  }
  return whole;
}

// The message with these bytes, however they arrive.
inline std::unique_ptr<protocol::Record> decodedHoweverCut(std::string_view hex, bool legacy,
                                                           const protocol::BerProtocol& catalogue) {
  Outcome outcome = outcomeOf(hex, legacy, catalogue);
  return outcome.message ? std::move(outcome.message)
                         : throw std::runtime_error(std::string(hex) + ": " + outcome.refusal);
}

// A primitive as it is written.
template <class T>
std::string itemOf(const T& value, const protocol::Bounds& bounds = {}, bool legacy = false) {
  MemoryIo io;
  protocol::Writer writer(io, legacy);
  protocol::Leaf<T>::put(value, bounds, writer);
  writer.flush();
  return hexOf(io.bytes);
}

// The same bytes once a level, deeper than any stack.
constexpr std::size_t kDepth = 200000;
inline std::string deep(std::string_view hex, std::size_t levels = kDepth) {
  std::string text;
  for (; levels > 0; --levels) {
    text += hex;
  }
  return text;
}

}  // namespace morvex
