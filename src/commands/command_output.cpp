#include "commands/command_output.h"

#include <chrono>

#include "foundation/progress.h"
#include "frontend/options.h"
#include "frontend/usage.h"

bool usesStandardStream() { return g_fileName.empty() || g_fileName == "-"; }

void showProgress(StandardStream data) {
  if (openErrorTerminal() && !(usesStandardStream() ? isTerminal(data) : isTerminal(g_fileName))) {
    g_progress.start(showOnErrorTerminal, std::chrono::steady_clock::now());
    g_progress.enter(Way::received, "objects");
  }
}

CommandOutput::CommandOutput(const char* programName) {
  if (usesStandardStream()) {
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
