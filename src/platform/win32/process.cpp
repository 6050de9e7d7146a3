#include "platform/process.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/assertion.h"
#include "platform/files.h"
#include "platform/output.h"
#include "platform/traffic.h"
#include "platform/win32/utf8.h"

namespace morvex {

// Of the C library, in none of its headers: the arguments as the system has them.
struct StartInfo {
  int newMode;
};
extern "C" int __wgetmainargs(int* count, wchar_t*** arguments, wchar_t*** environment, int expandWildcards,
                              StartInfo* info);

namespace {

// An exception for which there is no memory cannot reach main, nor can it be said with anything that might
// throw again.
[[noreturn]] void endWithoutException() noexcept {
  constexpr std::string_view kMessage = "Caught unknown exception.\n";
  g_traffic.tell(Occasion::message);
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
  g_reportAssertion = printError;
  std::set_terminate(endWithoutException);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);  // no boxes to click
  _set_error_mode(_OUT_TO_STDERR);
  _set_invalid_parameter_handler(goOn);
  // A caller of the same C library may have handed them down in another mode.
  _setmode(kStandardOutput, _O_TEXT);
  _setmode(kStandardError, _O_TEXT);
}

// What main is given is in the code page of the system, in which most names cannot be written, and with the
// names of files in place of what looks like a pattern of them.
char** programArguments(int& count, char**) {
  static std::vector<std::string> texts;
  static std::vector<char*> arguments;
  wchar_t **wide = nullptr, **environment = nullptr;
  StartInfo info{};
  if (__wgetmainargs(&count, &wide, &environment, 0, &info) < 0) {
    throw std::bad_alloc();
  }
  for (int i = 0; i < count; ++i) {
    texts.push_back(utf8FromWide(wide[i]));
  }
  for (std::string& text : texts) {
    arguments.push_back(text.data());
  }
  arguments.push_back(nullptr);
  return arguments.data();
}

}  // namespace morvex
