#pragma once

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "foundation/errors.h"
#include "protocol/basic_io.h"
#include "support/wire.h"

namespace morvex {

// What a ScriptedIo plays and records. The test keeps it, since the stream belongs to whoever reads it.
struct Script {
  std::deque<std::vector<std::uint8_t>> incoming;  // one read each; behind the last the peer has hung up
  std::vector<std::string> written;                // in hex, one write each
  std::string calls;                               // r, w, f and ~ for the end, in their order
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

}  // namespace morvex
