#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/errors.h"
#include "foundation/output.h"
#include "foundation/progress.h"

namespace {

[[noreturn]] void throwWriteError(int code) {
  if (code == EPIPE) {
    throw OutputAbandoned();
  }
  throwSystemError(std::string("Error writing output: ") + std::strerror(code));
}

void waitUntilWritable(int descriptor) {
  pollfd waited{.fd = descriptor, .events = POLLOUT, .revents = 0};
  poll(&waited, 1, -1);
}

// Writes all of it. Returns 0 or the system's error number.
int writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(descriptor, text.data(), text.size());
    if (count >= 0) {
      text.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {  // whoever shares a standard stream may have made it non-blocking
      waitUntilWritable(descriptor);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

void writeOrThrow(int descriptor, std::string_view block) {
  if (const int code = writeAll(descriptor, block); code != 0) {
    throwWriteError(code);
  }
}

class StandardOutput final : public Output {
 public:
  StandardOutput() { interactive_ = isatty(STDOUT_FILENO) != 0; }

 private:
  void drain(std::string_view block) override { writeOrThrow(STDOUT_FILENO, block); }
};

class DescriptorFile final : public OutputFile {
 public:
  explicit DescriptorFile(int descriptor) : descriptor_(descriptor) {
    interactive_ = isatty(descriptor) != 0;
  }

  ~DescriptorFile() override {
    try {
      close();
    } catch (...) {  // said in the header: only those who call close() hear of failures
      if (descriptor_ >= 0) {
        ::close(descriptor_);
      }
    }
  }

  void close() override {
    flush();
    if (descriptor_ < 0) {
      return;
    }
    const int result = ::close(descriptor_);
    descriptor_ = -1;
    if (result != 0 && errno != EINTR) {  // interrupted or not, the descriptor is released
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
  int descriptor = -1;
  do {
    descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  } while (descriptor < 0 && errno == EINTR);  // a named pipe is waited for
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorFile>(descriptor);
}

void printError(std::string_view text) noexcept {
  try {
    standardOutput().flush();
  } catch (...) {  // there is no better place for that message than the one that is under way
  }
  g_progress.wipe();
  writeAll(STDERR_FILENO, text);
}
