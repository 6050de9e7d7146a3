#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "foundation/errors.h"
#include "foundation/output.h"
#include "foundation/progress.h"
#include "foundation/win32/utf8.h"

namespace {

constexpr int kStandardOutput = 1, kStandardError = 2;

[[noreturn]] void throwWriteError(int code) {
  if (code == EPIPE) {
    throw OutputAbandoned();
  }
  throwSystemError(std::string("Error writing output: ") + std::strerror(code));
}

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

// Writes all of it, with a carriage return before each line feed. Returns 0 or an error number.
int writeAll(int descriptor, std::string_view text) {
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

void writeOrThrow(int descriptor, std::string_view block) {
  if (const int code = writeAll(descriptor, block); code != 0) {
    throwWriteError(code);
  }
}

// The C library's own answer takes every device for a terminal, NUL among them.
bool isConsole(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &mode) != 0;
}

class StandardOutput final : public Output {
 public:
  StandardOutput() { interactive_ = isConsole(kStandardOutput); }

 private:
  void drain(std::string_view block) override { writeOrThrow(kStandardOutput, block); }
};

class DescriptorFile final : public OutputFile {
 public:
  explicit DescriptorFile(int descriptor) : descriptor_(descriptor) { interactive_ = isConsole(descriptor); }

  ~DescriptorFile() override {
    try {
      close();
    } catch (...) {  // said in the header: only those who call close() hear of failures
      if (descriptor_ >= 0) {
        _close(descriptor_);
      }
    }
  }

  void close() override {
    flush();
    if (descriptor_ < 0) {
      return;
    }
    const int result = _close(descriptor_);
    descriptor_ = -1;
    if (result != 0) {
      throwWriteError(errno);
    }
  }

 private:
  void drain(std::string_view block) override { writeOrThrow(descriptor_, block); }

  int descriptor_;
};

}  // namespace

Output& standardOutput() {
  static StandardOutput output;
  return output;
}

std::unique_ptr<OutputFile> OutputFile::create(const std::string& name) {
  constexpr int kFlags = _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT | _O_NOINHERIT;
  const int descriptor = _wopen(wideFromUtf8(name).c_str(), kFlags, _S_IREAD | _S_IWRITE);
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorFile>(descriptor);
}

void printError(std::string_view text) noexcept {
  try {
    standardOutput().flush();
  } catch (...) {  // there is no better place for that message than the one that is under way
  }
  g_progress.wipe();
  writeAll(kStandardError, text);
}
