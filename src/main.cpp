#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>

#include "cli/global_options.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/output.h"
#include "platform/process.h"
#include "platform/terminal.h"
#include "protocol/ber_error.h"

using namespace morvex;

namespace {

struct Command {
  std::string_view word;
  void (*run)(Arguments& arguments);
};

constexpr Command kCommands[] = {
    {"select", selectData},
    {"insert", insertData},
    {"listdomains", listDomains},
    {"listnodes", listNodes},
    {"listchecks", listChecks},
    {"update", updateObject},
    {"listproperties", listProperties},
    {"listmetrics", listMetrics},
    {"lm", listMetrics},
    {"monitormetrics", monitorMetrics},
    {"mm", monitorMetrics},
};

void run(int argc, char** argv) {
  if (argc < 2) {
    printUsage();
    return;
  }
  Arguments arguments(argc, argv);
  parseGlobalOptions(arguments);
  const std::string word = arguments.take();
  const Command* command = std::ranges::find(kCommands, toLower(word), &Command::word);
  if (command == std::end(kCommands)) {
    usageError("Unrecognized command `" + word + "'");
  }
  command->run(arguments);
}

std::string textOf(const error::Exception& failure) {
  const auto* refusal = dynamic_cast<const protocol::EBer*>(&failure);
  return refusal != nullptr && isTerminal(StandardStream::error) ? refusal->shortText() : failure.text();
}

void report(const error::Exception& failure) noexcept {
  try {
    printError("Caught error: " + textOf(failure) + "\n");
  } catch (...) {  // no memory is left for the text
    printError("Caught unknown exception.\n");
  }
}

// Writes what standard output still holds. False if that failed, which is reported unless the reader went
// away.
bool finishOutput() noexcept {
  try {
    standardOutput().flush();
    return true;
  } catch (const OutputAbandoned&) {
  } catch (const error::Exception& failure) {
    report(failure);
  } catch (...) {
    printError("Caught unknown exception.\n");
  }
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  prepareProcess();
  try {
    argv = programArguments(argc, argv);
    run(argc, argv);
    return finishOutput() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const OutputAbandoned&) {
    return EXIT_FAILURE;
  } catch (const error::Exception& failure) {
    finishOutput();  // what was printed before the failure comes before its message
    report(failure);
  } catch (...) {
    finishOutput();
    printError("Caught unknown exception.\n");
  }
  return EXIT_FAILURE;
}
