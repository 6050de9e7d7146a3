#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "protocol/facts.h"

namespace morvex::sandbox {

// The options of the command line.
struct Options {
  std::uint16_t port = protocol::kDefaultPort;  // 0: any free one
  std::string login = "admin";
  std::string password = "secret";
  std::string domain = ".";
  std::uint32_t nodes = 0;     // generated nodes beside the sample tree
  std::uint32_t domains = 0;   // generated ones in the root
  std::uint32_t rows = 0;      // of each check of the "scale" node; 0: no such node
  std::uint32_t lobBytes = 0;  // of the "large" node, and how long its lists are; neither: no such node
  std::uint32_t listLength = 0;
  std::uint32_t metrics = 0;    // counters beside the usual metrics
  std::uint32_t conflicts = 0;  // updates to refuse, from the first on
  std::chrono::milliseconds delay{0};
  std::uint32_t keep = 0;            // MiB of answers to give again
  std::optional<std::uint32_t> now;  // seconds since 1970; none: the clock
  bool help = false;

  // The present for all sample data, in seconds since 1970.
  std::int64_t present() const;
};

extern const char* const kUsage;

// Throws error::EParseError with a message for the user.
Options parseOptions(int count, const char* const* arguments);

}  // namespace morvex::sandbox
