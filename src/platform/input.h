#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace morvex {

// Lines of text from a file or from standard input.
class LineReader {
 public:
  LineReader() : buffer_(kBlock) {}
  virtual ~LineReader() = default;
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  // Null if the file cannot be opened.
  static std::unique_ptr<LineReader> open(const std::string& name);
  static std::unique_ptr<LineReader> standardInput();

  // Gives the next line without its line end: a line feed, and a carriage return before it. The last line may
  // lack the line feed. The line is valid until the next call. False at the end of the input, and for good at
  // a line of more than longest characters. A failure to read throws error::ESystemError with "Error reading
  // input: " and the system's text.
  bool next(std::string_view& line, std::size_t longest);

 protected:
  static constexpr std::size_t kBlock = 65536;

  // Waits for input and puts as much as there is, at least one byte, into the block. Returns the number of
  // bytes, 0 at the end of the input.
  virtual std::size_t read(std::span<char> block) = 0;

 private:
  bool fill();

  std::vector<char> buffer_;  // unread input stands from begin_ to end_
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool ended_ = false;
};

}  // namespace morvex
