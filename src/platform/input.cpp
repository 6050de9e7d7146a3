#include "platform/input.h"

#include <algorithm>
#include <cstring>

#include "foundation/errors.h"
#include "platform/files.h"
#include "platform/traffic.h"

namespace morvex {
namespace {

class DescriptorReader final : public LineReader {
 public:
  explicit DescriptorReader(int descriptor) : descriptor_(descriptor) {}
  ~DescriptorReader() override {
    if (descriptor_ != kStandardInput) {
      platform_close(descriptor_);
    }
  }

 private:
  std::size_t read(std::span<char> block) override {
    std::size_t count = 0;
    if (const int code = platform_read(descriptor_, block, count); code != 0) {
      throwSystemError(std::string("Error reading input: ") + std::strerror(code));
    }
    return count;
  }

  int descriptor_;
};

}  // namespace

std::unique_ptr<LineReader> LineReader::open(const std::string& name) {
  const int descriptor = platform_open_file(name);
  return descriptor < 0 ? nullptr : std::make_unique<DescriptorReader>(descriptor);
}

std::unique_ptr<LineReader> LineReader::standardInput() {
  return std::make_unique<DescriptorReader>(kStandardInput);
}

bool LineReader::next(std::string_view& line, std::size_t longest) {
  std::size_t length = 0;  // of the part that is known to hold no line feed
  bool feedFound = false;
  while (!feedFound && !ended_) {
    const std::string_view fresh(buffer_.data() + begin_ + length, end_ - begin_ - length);
    const std::size_t feed = fresh.find('\n');
    feedFound = feed != std::string_view::npos;
    length += feedFound ? feed : fresh.size();
    if (!feedFound) {
      const bool hopeless = length > 0 && length - 1 > longest;  // even if the last one is a carriage return
      ended_ = hopeless || !fill();
    }
  }
  line = std::string_view(buffer_.data() + begin_, length);
  begin_ += length + (feedFound ? 1 : 0);
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  ended_ = ended_ || line.size() > longest;
  return (feedFound || length > 0) && line.size() <= longest;
}

// Moves the rest to the front to make room: a line is moved once at most.
bool LineReader::fill() {
  const auto front = buffer_.begin();
  const auto at = [front](std::size_t index) { return front + static_cast<std::ptrdiff_t>(index); };
  std::copy(at(begin_), at(end_), front);
  end_ -= begin_;
  begin_ = 0;
  if (end_ == buffer_.size()) {
    buffer_.resize(2 * end_);
  }
  const std::size_t count = read(std::span(buffer_).subspan(end_));
  end_ += count;
  g_traffic.count(Way::read, count);
  return count > 0;
}

}  // namespace morvex
