#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "platform/descriptor.h"
#include "platform/win32/utf8.h"

namespace morvex {

// Of a write that failed. A pipe without a reader has three codes, and the C library knows one of them.
static int writeError() {
  switch (_doserrno) {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
      return EPIPE;
    default:
      return errno;
  }
}

int platform_create_file(const std::string& name) {
  constexpr int kFlags = _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT | _O_NOINHERIT;
  return _wopen(wideFromUtf8(name).c_str(), kFlags, _S_IREAD | _S_IWRITE);
}

int platform_write(int descriptor, std::string_view text) noexcept {
  while (!text.empty()) {
    const auto asked = static_cast<unsigned>(std::min<std::size_t>(text.size(), INT_MAX));
    const int count = _write(descriptor, text.data(), asked);
    if (count < 0) {
      return writeError();
    }
    if (count == 0) {  // which the C library says of a full device in some cases
      return ENOSPC;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int platform_close(int descriptor) noexcept { return _close(descriptor) != 0 ? errno : 0; }

}  // namespace morvex
