#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace morvex {

// Nobody reads standard output or the output file any more. main ends the run quietly, with exit code 1.
struct OutputAbandoned {};

// Collects text and writes it in blocks. A failure to write throws error::ESystemError with
// "Error writing output: " and the system's text, or OutputAbandoned.
class Output {
 public:
  Output() = default;  // takes no memory: main flushes it even when there is none
  virtual ~Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void write(std::string_view text) {
    take(std::copy(text.begin(), text.end(), room(text.size())));
    if (size_ >= kBlock) {
      flush();
    }
  }

  // Ends a line. An interactive medium gets each line at once.
  void endLine() { endLine(room(1)); }

  // The fast way to print many lines: gives room for the rest of a line with its end, valid until the next
  // call. endLine takes the end of the text in it; without endLine nothing is written.
  char* room(std::size_t count) {
    if (capacity_ - size_ < count) {
      grow(count);
    }
    return buffer_.get() + size_;
  }
  void endLine(char* end) {
    *end = '\n';
    take(end + 1);
    if (interactive_ || size_ >= kBlock) {
      flush();
    }
  }

  // Writes all text to the medium before it returns.
  void flush();

 protected:
  static constexpr std::size_t kBlock = 262144;

  // Writes all of it or throws.
  virtual void drain(std::string_view block) = 0;

  bool interactive_ = false;

 private:
  void take(const char* end) { size_ = static_cast<std::size_t>(end - buffer_.get()); }
  void grow(std::size_t count);

  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0, capacity_ = 0;
};

// Standard output. main, usageError and printError flush it.
Output& standardOutput();

// An output file. Its destructor closes it in silence; close() reports failures.
class OutputFile : public Output {
 public:
  // Creates the file or replaces its contents; null if it cannot be opened.
  static std::unique_ptr<OutputFile> create(const std::string& name);

  // Flushes and closes. Throws as Output does.
  virtual void close() = 0;
};

// Flushes standard output, so that both keep their order, clears a line of progress, and writes to standard
// error: to a terminal with putVisible, so that no message commands it, and elsewhere the bytes as they are.
// Never fails: a message that cannot be written has no other place to go.
void printError(std::string_view text) noexcept;

}  // namespace morvex
