#include "platform/input.h"

#include <algorithm>

#include "platform/traffic.h"

namespace morvex {

bool LineReader::next(std::string_view& line, std::size_t longest) {
  std::size_t length = 0;  // of what is known to hold no line feed
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

// Makes room behind what is left, by moving it to the front: a line is moved once at most.
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
