#pragma once

#include <memory>

#include "platform/output.h"
#include "platform/terminal.h"

namespace morvex {

// Whether there is no file of -f, so that the data go through a standard stream.
bool usesStandardStream();

// To be called behind the log-in by commands that may take long: from then on g_progress shows how far they
// are, if standard error is a terminal and the data don't come from or go to one, be it by -f or by this
// stream.
void showProgress(StandardStream data);

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

}  // namespace morvex
