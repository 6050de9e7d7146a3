#include "foundation/process.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <exception>
#include <string_view>

namespace {

constexpr int kStandardOutput = 1, kStandardError = 2;

// An exception for which there is no memory cannot reach main, nor can it be said with anything that might
// throw again.
[[noreturn]] void endWithoutException() noexcept {
  constexpr std::string_view kMessage = "Caught unknown exception.\n";
  _write(kStandardError, kMessage.data(), static_cast<unsigned>(kMessage.size()));
  _exit(EXIT_FAILURE);
}

// The C library would end the program for some arguments that it only has to refuse, such as a time format
// that it does not know.
void goOn(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {}

}  // namespace

// A write to a closed pipe is an error by itself here. So is the use of a standard stream that the caller
// closed: the C library keeps its descriptor occupied.
void prepareProcess() {
  std::set_terminate(endWithoutException);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);  // no boxes to click
  _set_error_mode(_OUT_TO_STDERR);
  _set_invalid_parameter_handler(goOn);
  // A caller of the same C library may have handed them down in another mode.
  _setmode(kStandardOutput, _O_TEXT);
  _setmode(kStandardError, _O_TEXT);
}
