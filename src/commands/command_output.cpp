#include "commands/command_output.h"

#include "frontend/options.h"
#include "frontend/usage.h"

CommandOutput::CommandOutput(const char* programName) {
  if (g_fileName.empty() || g_fileName == "-") {
    return;
  }
  file_ = OutputFile::create(g_fileName);
  if (file_ == nullptr) {
    usageError("Cannot open file \"" + g_fileName + "\"", programName);
  }
}

void CommandOutput::finish() {
  if (file_ != nullptr) {
    file_->close();
  } else {
    standardOutput().flush();
  }
}
