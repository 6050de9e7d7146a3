#include "platform/terminal.h"

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "platform/files.h"

namespace morvex {

static HANDLE handleOf(int descriptor) { return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)); }

// The C library's _isatty takes every device for a terminal, even NUL.
bool isTerminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(handleOf(descriptor), &mode) != 0;
}

// The console has these names in every folder.
bool isTerminal(const std::string& fileName) {
  constexpr const char* kNames[] = {"CON", "CONIN$", "CONOUT$"};
  return std::any_of(std::begin(kNames), std::end(kNames),
                     [&fileName](const char* name) { return _stricmp(fileName.c_str(), name) == 0; });
}

bool openErrorTerminal() { return isTerminal(StandardStream::error); }

// This system has no background. While the user selects text on the console, every write waits.
TerminalOutcome showOnErrorTerminal(std::string_view text) noexcept {
  DWORD written = 0;
  const bool shown = WriteConsoleA(handleOf(kStandardError), text.data(), static_cast<DWORD>(text.size()),
                                   &written, nullptr) != 0;
  return shown ? TerminalOutcome::shown : TerminalOutcome::lost;
}

}  // namespace morvex
