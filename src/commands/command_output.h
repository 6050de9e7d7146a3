#pragma once

#include <memory>

#include "foundation/output.h"

// Where a command prints: the file of -f, or standard output.
class CommandOutput {
 public:
  // Opens the file of -f, if there is one. A file that cannot be opened is a usage error.
  explicit CommandOutput(const char* programName);

  Output& stream() { return file_ != nullptr ? *file_ : standardOutput(); }

  // To be called when all is printed: a failure to write it or to close the file is thrown as Output does.
  void finish();

 private:
  std::unique_ptr<OutputFile> file_;
};
