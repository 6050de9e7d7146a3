#include <cstdlib>
#include <string>

#include "cli/options.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "platform/output.h"
#include "platform/process.h"
#include "platform/time_zone.h"

using namespace morvex;

namespace {

using CommandFunction = void (*)(int count, char** vector, int index, const TimeZone& zone);

// A command that converts no times.
template <void (*command)(int, char**, int)>
void withoutZone(int count, char** vector, int index, const TimeZone&) {
  command(count, vector, index);
}

struct Command {
  std::string_view word;
  CommandFunction run;
};

constexpr Command kCommands[] = {
    {"select", selectData},
    {"insert", insertData},
    {"listdomains", withoutZone<listDomains>},
    {"listnodes", withoutZone<listNodes>},
    {"listchecks", withoutZone<listChecks>},
    {"update", withoutZone<updateObject>},
    {"listproperties", withoutZone<listProperties>},
    {"listmetrics", withoutZone<listMetrics>},
    {"lm", withoutZone<listMetrics>},
    {"monitormetrics", withoutZone<monitorMetrics>},
    {"mm", withoutZone<monitorMetrics>},
};

void dispatch(int count, char** vector, int wordIndex, const TimeZone& zone) {
  const std::string word = toLower(vector[wordIndex]);
  for (const Command& command : kCommands) {
    if (command.word == word) {
      command.run(count, vector, wordIndex + 1, zone);
      return;
    }
  }
  usageError(std::string("Unrecognized command `") + vector[wordIndex] + "'", vector[0]);
}

void run(int count, char** vector) {
  if (count < 2) {
    printUsage(vector[0]);
    return;
  }
  const TimeZone zone(TimeZone::localMarker);  // records TZ as it is at the start
  dispatch(count, vector, parseGlobalOptions(count, vector), zone);
}

void report(const error::Exception& failure) noexcept {
  try {
    printError("Caught error: " + failure.text() + "\n");
  } catch (...) {  // no memory is left for the text
    printError("Caught unknown exception.\n");
  }
}

// Brings out what standard output still holds. False if that failed, which is said unless nobody reads there
// any more.
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

int main(int count, char** vector) {
  prepareProcess();
  try {
    vector = programArguments(count, vector);
    run(count, vector);
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
