#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "foundation/errors.h"
#include "platform/input.h"
#include "platform/win32/utf8.h"

namespace morvex {
namespace {

constexpr int kStandardInput = 0;

// In text mode the C library would end the input at the first Ctrl+Z, and rows behind it would be lost
// without a word; that the lines come without carriage returns, LineReader sees to. On a console Ctrl+Z is
// how users end their input.
void setMode(int descriptor) { _setmode(descriptor, _isatty(descriptor) != 0 ? _O_TEXT : _O_BINARY); }

class DescriptorReader final : public LineReader {
 public:
  explicit DescriptorReader(int descriptor) : descriptor_(descriptor) { setMode(descriptor); }

  ~DescriptorReader() override {
    if (descriptor_ != kStandardInput) {
      _close(descriptor_);
    }
  }

 private:
  std::size_t read(std::span<char> block) override {
    const auto room = static_cast<unsigned>(std::min<std::size_t>(block.size(), INT_MAX));
    const int count = _read(descriptor_, block.data(), room);
    if (count < 0) {
      throwSystemError(std::string("Error reading input: ") + std::strerror(errno));
    }
    return static_cast<std::size_t>(count);
  }

  int descriptor_;
};

}  // namespace

std::unique_ptr<LineReader> LineReader::open(const std::string& name) {
  const int descriptor = _wopen(wideFromUtf8(name).c_str(), _O_RDONLY | _O_NOINHERIT);
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorReader>(descriptor);
}

std::unique_ptr<LineReader> LineReader::standardInput() {
  return std::make_unique<DescriptorReader>(kStandardInput);
}

}  // namespace morvex
