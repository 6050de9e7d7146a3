#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace morvex {

// The way of bytes: from or to the server, from or to the file or standard stream of the data.
enum class Way { received, sent, read, written };

enum class Occasion {
  passed,   // bytes have passed, or the server keeps us waiting behind them
  message,  // something is about to be written to standard error
};

// What has passed since the start. Streams count bytes, handlers of rows count rows, and a line of progress
// reads both. Counting never fails.
struct Traffic {
  std::array<std::uint64_t, 4> bytes{};  // by Way
  std::uint64_t rows = 0;                // read, written, sent or received; whole or begun
  const void* rowKind = nullptr;  // the table of the records that are rows while they are sent or received
  void (*show)(Occasion) noexcept = nullptr;  // null while nobody wants to know
  bool behind = false;                        // kept by show: it has yet to show what has passed

  void count(Way way, std::size_t size) {
    bytes[static_cast<std::size_t>(way)] += size;
    tell(Occasion::passed);
  }
  void countRow(const void* kind) { rows += kind == rowKind ? 1 : 0; }
  void tell(Occasion occasion) const {
    if (show != nullptr) {
      show(occasion);
    }
  }
};

inline constinit Traffic g_traffic;

}  // namespace morvex
