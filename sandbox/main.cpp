#include <string>

#include "foundation/errors.h"
#include "platform/listener.h"
#include "platform/output.h"
#include "platform/process.h"
#include "sandbox/handler.h"
#include "sandbox/options.h"
#include "sandbox/sample_tree.h"
#include "sandbox/server.h"

using namespace morvex;

namespace {

void run(const sandbox::Options& options) {
  catchStopRequests();
  Listener listener(options.port);
  sandbox::Tree tree = sandbox::makeSampleTree(options);
  sandbox::Activity activity;
  sandbox::Handler handler(tree, activity, options);
  sandbox::Service service{options, handler, activity, {}};

  standardOutput().write("Listening on 127.0.0.1:" + std::to_string(listener.port()) + "\n");
  standardOutput().flush();
  sandbox::Server(listener, service).run();
}

}  // namespace

int main(int argumentCount, char** arguments) {
  prepareProcess();
  try {
    arguments = programArguments(argumentCount, arguments);
    const sandbox::Options options = sandbox::parseOptions(argumentCount, arguments);
    if (options.help) {
      standardOutput().write(sandbox::kUsage);
      standardOutput().flush();
      return 0;
    }
    run(options);
    return 0;
  } catch (const error::Exception& failure) {
    printError("morvex-sandbox: " + failure.text() + "\n");
  } catch (const OutputAbandoned&) {
    // Nobody reads the port number, so nobody will come.
  }
  return 1;
}
