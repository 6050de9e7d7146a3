#include "platform/process.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/win32/utf8.h"

namespace morvex {

// A function of the C library that no header declares: gives the arguments as the system has them.
struct StartInfo {
  int newMode;
};
extern "C" int __wgetmainargs(int* count, wchar_t*** arguments, wchar_t*** environment, int expandWildcards,
                              StartInfo* info);

namespace {

// By default the C library ends the program for some invalid arguments, such as an unknown time format.
void goOn(const wchar_t*, const wchar_t*, const wchar_t*, unsigned, std::uintptr_t) {}

}  // namespace

// On this system a write to a closed pipe is an error by itself, and the C library keeps the descriptors of
// closed standard streams occupied.
void platform_prepare_process() {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);  // no boxes to click
  _set_error_mode(_OUT_TO_STDERR);
  _set_invalid_parameter_handler(goOn);
  // A caller with the same C library may have passed them on in another mode.
  _setmode(kStandardOutput, _O_TEXT);
  _setmode(kStandardError, _O_TEXT);
}

// Those of main are in the code page of the system, which lacks most characters, and patterns among them are
// already replaced by the names of files.
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
