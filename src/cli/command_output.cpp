#include "cli/command_output.h"

#include <chrono>

#include "cli/global_options.h"
#include "cli/progress.h"
#include "cli/usage.h"
#include "protocol/messages/object_tree.h"

namespace morvex {

bool usesStandardStream() { return g_fileName.empty() || g_fileName == "-"; }

namespace {

void showTraffic(Occasion occasion) noexcept {
  if (occasion == Occasion::message) {
    g_progress.wipe();
  } else {
    g_progress.update(std::chrono::steady_clock::now());
  }
}

}  // namespace

void showProgress(StandardStream data) {
  if (openErrorTerminal() && !(usesStandardStream() ? isTerminal(data) : isTerminal(g_fileName))) {
    g_progress.start(showOnErrorTerminal, std::chrono::steady_clock::now());
    g_traffic.show = showTraffic;
    g_progress.enter(Way::received, "objects", &protocol::Object::kSchema);
  }
}

CommandOutput::CommandOutput() {
  if (usesStandardStream()) {
    return;
  }
  file_ = OutputFile::create(g_fileName);
  if (file_ == nullptr) {
    usageError("Cannot open file \"" + g_fileName + "\"");
  }
}

void CommandOutput::finish() {
  if (file_ != nullptr) {
    file_->close();
  } else {
    standardOutput().flush();
  }
}

}  // namespace morvex
