#include "sandbox/options.h"

#include <charconv>
#include <string_view>

#include "foundation/errors.h"
#include "foundation/text.h"

namespace sandbox {
namespace {

constexpr std::uint32_t kMaxNodes = 5'000'000;
constexpr std::uint32_t kMaxRows = 20'000'000;
constexpr std::uint32_t kMaxMetrics = 1'000'000;
constexpr std::uint32_t kMaxConflicts = 1'000'000;
constexpr std::uint32_t kMaxDelay = 60'000;

std::uint32_t numberUpTo(std::uint32_t limit, std::string_view option, std::string_view text) {
  std::uint32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, fault] = std::from_chars(text.data(), end, value);
  if (fault != std::errc() || stopped != end || value > limit) {
    throw error::EParseError("Option " + std::string(option) + " takes a number from 0 to " +
                             uintToString(limit) + ", got: " + std::string(text));
  }
  return value;
}

struct Row {
  std::string_view option;
  void (*take)(Options&, std::string_view option, std::string_view value);
};

constexpr Row kRows[] = {
    {"--port",
     [](Options& to, std::string_view option, std::string_view value) {
       to.port = static_cast<std::uint16_t>(numberUpTo(65535, option, value));
     }},
    {"--login", [](Options& to, std::string_view, std::string_view value) { to.login = value; }},
    {"--password", [](Options& to, std::string_view, std::string_view value) { to.password = value; }},
    {"--domain", [](Options& to, std::string_view, std::string_view value) { to.domain = value; }},
    {"--nodes", [](Options& to, std::string_view option,
                   std::string_view value) { to.nodes = numberUpTo(kMaxNodes, option, value); }},
    {"--rows", [](Options& to, std::string_view option,
                  std::string_view value) { to.rows = numberUpTo(kMaxRows, option, value); }},
    {"--metrics", [](Options& to, std::string_view option,
                     std::string_view value) { to.metrics = numberUpTo(kMaxMetrics, option, value); }},
    {"--conflicts", [](Options& to, std::string_view option,
                       std::string_view value) { to.conflicts = numberUpTo(kMaxConflicts, option, value); }},
    {"--delay",
     [](Options& to, std::string_view option, std::string_view value) {
       to.delay = std::chrono::milliseconds(numberUpTo(kMaxDelay, option, value));
     }},
};

const Row& rowOf(std::string_view option) {
  for (const Row& row : kRows) {
    if (row.option == option) {
      return row;
    }
  }
  throw error::EParseError("Unknown option: " + std::string(option));
}

}  // namespace

const char* const kUsage =
    "Usage: morvex-sandbox [options]\n"
    "\n"
    "A small Morvex Server with sample data, to try morvex-tool and scripts on. It listens on 127.0.0.1,\n"
    "prints \"Listening on 127.0.0.1:PORT\" once it does, and serves until it is told to end by SIGINT or\n"
    "SIGTERM. Objects can be updated and data stored, for all clients to see, but nothing is kept from one\n"
    "run to the next.\n"
    "\n"
    "  --port N         the port to listen on; 0 takes a free one (default 3241)\n"
    "  --login NAME     the login that is let in (default admin)\n"
    "  --password TEXT  its password (default secret)\n"
    "  --domain TEXT    its login domain (default .)\n"
    "  --nodes N        adds N nodes below the domain \"generated\", a thousand in each of its subdomains\n"
    "  --rows N         adds the node \"scale\" to the root: the checks continuous, sawtooth and enum, and\n"
    "                   its incident log, hold N entries each\n"
    "  --metrics N      adds the group \"many\" to the metrics, with the counters m0 to m(N-1)\n"
    "  --conflicts N    refuses the first N updates, as if somebody else had just changed the object\n"
    "  --delay MS       holds each answer to a request back for so many milliseconds\n"
    "  --help           prints this text\n"
    "\n"
    "The session key of the n-th log-in is 4d6f72766578 followed by n in eight hexadecimal digits.\n";

Options parseOptions(int count, const char* const* arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const std::string_view option = arguments[i];
    if (option == "--help") {
      options.help = true;
      continue;
    }
    const Row& row = rowOf(option);
    if (++i == count) {
      throw error::EParseError("Missing value of option " + std::string(option));
    }
    row.take(options, option, arguments[i]);
  }
  return options;
}

}  // namespace sandbox
