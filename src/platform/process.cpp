#include "platform/process.h"

#include <cstdlib>
#include <exception>

#include "foundation/assertion.h"
#include "platform/files.h"
#include "platform/output.h"
#include "platform/traffic.h"

namespace morvex {
namespace {

// An exception without memory for it cannot reach main, nor may its message need memory.
[[noreturn]] void endWithoutException() noexcept {
  g_traffic.tell(Occasion::message);
  platform_write(kStandardError, "Caught unknown exception.\n");
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

void prepareProcess() {
  g_reportAssertion = printError;
  std::set_terminate(endWithoutException);
  platform_prepare_process();
}

}  // namespace morvex
