#pragma once

#include <memory>

#include "platform/output.h"
#include "platform/terminal.h"

namespace morvex {

// Whether -f names no file, so that the data go through a standard stream.
bool usesStandardStream();

// Called after the log-in by commands that may take long. From then on g_progress shows how far they are, if
// standard error is a terminal and the data, in the file of -f or in this stream, do not go through one.
void showProgress(StandardStream data);

// Where a command prints: the file of -f, or standard output.
class CommandOutput {
 public:
  // Opens the file of -f, if there is one. A file that cannot be opened is a usage error.
  CommandOutput();

  Output& stream() { return file_ != nullptr ? *file_ : standardOutput(); }

  // Called when all is printed. Throws as Output does if it cannot be written, or the file not be closed.
  void finish();

 private:
  std::unique_ptr<OutputFile> file_;
};

}  // namespace morvex
