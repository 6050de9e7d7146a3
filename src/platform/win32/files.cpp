#include "platform/files.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/win32/utf8.h"

namespace morvex {
namespace {

// Of a write that failed. A pipe without a reader has three codes, and the C library knows one of them.
int writeError() {
  switch (_doserrno) {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return EPIPE;
    default:
      return errno;
  }
}

// As much as one call can be asked for.
unsigned atMost(std::size_t size) { return static_cast<unsigned>(std::min<std::size_t>(size, INT_MAX)); }

}  // namespace

int platform_open_file(const std::string& name) {
  return _wopen(wideFromUtf8(name).c_str(), _O_RDONLY | _O_NOINHERIT);
}

int platform_create_file(const std::string& name) {
  constexpr int kFlags = _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT | _O_NOINHERIT;
  return _wopen(wideFromUtf8(name).c_str(), kFlags, _S_IREAD | _S_IWRITE);
}

// In text mode the C library would end a file at its first Ctrl+Z, and the rows after it would be lost in
// silence. On a console users end their input with that key. LineReader drops the carriage returns.
int platform_read(int descriptor, std::span<char> block, std::size_t& count) noexcept {
  _setmode(descriptor, _isatty(descriptor) != 0 ? _O_TEXT : _O_BINARY);
  const int result = _read(descriptor, block.data(), atMost(block.size()));
  count = result < 0 ? 0 : static_cast<std::size_t>(result);
  return result < 0 ? errno : 0;
}

int platform_write(int descriptor, std::string_view text) noexcept {
  while (!text.empty()) {
    const int count = _write(descriptor, text.data(), atMost(text.size()));
    if (count < 0) {
      return writeError();
    }
    if (count == 0) {  // what the C library returns for some full devices
      return ENOSPC;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int platform_close(int descriptor) noexcept { return _close(descriptor) != 0 ? errno : 0; }

}  // namespace morvex
