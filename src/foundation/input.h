#pragma once

#include <memory>
#include <string>
#include <string_view>

// Lines of text from a file or from standard input.
class LineReader {
 public:
  virtual ~LineReader() = default;

  // Null if the file cannot be opened.
  static std::unique_ptr<LineReader> open(const std::string& name);
  static std::unique_ptr<LineReader> standardInput();

  // The next line, good until the next call, without its line end: a line feed, and a carriage return ahead
  // of it. The last line may lack it. False at the end of the input, and at a line of more than longest
  // characters, which ends the reading for good. Throws error::ESystemError for input that cannot be read.
  virtual bool next(std::string_view& line, std::size_t longest) = 0;
};
