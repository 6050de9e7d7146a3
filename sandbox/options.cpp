#include "sandbox/options.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <type_traits>

#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/clock.h"

namespace morvex::sandbox {
namespace {

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

template <auto kMember, std::uint32_t kLimit>
void takeNumber(Options& to, std::string_view option, std::string_view value) {
  using Number = std::remove_reference_t<decltype(to.*kMember)>;
  to.*kMember = static_cast<Number>(numberUpTo(kLimit, option, value));
}

template <auto kMember>
void takeText(Options& to, std::string_view, std::string_view value) {
  to.*kMember = value;
}

struct Row {
  std::string_view option;
  void (*take)(Options&, std::string_view option, std::string_view value);
};

constexpr Row kRows[] = {
    {"--port", takeNumber<&Options::port, 65535>},
    {"--login", takeText<&Options::login>},
    {"--password", takeText<&Options::password>},
    {"--domain", takeText<&Options::domain>},
    {"--nodes", takeNumber<&Options::nodes, 5'000'000>},
    {"--domains", takeNumber<&Options::domains, 10'000>},
    {"--rows", takeNumber<&Options::rows, 20'000'000>},
    {"--lob", takeNumber<&Options::lobBytes, 2'097'152>},
    {"--list", takeNumber<&Options::listLength, 1'000'000>},
    {"--metrics", takeNumber<&Options::metrics, 1'000'000>},
    {"--conflicts", takeNumber<&Options::conflicts, 1'000'000>},
    {"--delay", takeNumber<&Options::delay, 60'000>},
    {"--keep", takeNumber<&Options::keep, 1'048'576>},
    {"--now", takeNumber<&Options::now, std::numeric_limits<std::int32_t>::max()>},
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
    "  --domains N      adds N empty domains to the root\n"
    "  --rows N         adds the node \"scale\" to the root: the checks continuous, sawtooth and enum, and\n"
    "                   its incident log, hold N entries each; the incidents have texts of 60 bytes\n"
    "  --lob N          adds the node \"large\" to the root, whose property \"picture\" holds N bytes\n"
    "  --list N         the same node, whose lists \"dependencies\", \"aliases\" and \"gidList\" hold N "
    "elements\n"
    "                   each, the aliases texts of 60 bytes\n"
    "  --metrics N      adds the group \"many\" to the metrics, with the counters m0 to m(N-1)\n"
    "  --conflicts N    refuses the first N updates, as if somebody else had just changed the object\n"
    "  --delay MS       holds each answer to a request back for so many milliseconds\n"
    "  --keep MIB       keeps answers to listings and exports, up to so many MiB of them, and gives them "
    "again\n"
    "                   to the same question, until something is stored or updated\n"
    "  --now TIME       the present, in seconds since 1970-01-01 00:00 GMT: with a time of your own every\n"
    "                   run has the same data (default: the clock)\n"
    "  --help           prints this text\n"
    "\n"
    "The session key of the n-th log-in is 4d6f72766578 followed by n in eight hexadecimal digits.\n";

std::int64_t Options::present() const { return now ? *now : currentSeconds(); }

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

}  // namespace morvex::sandbox
