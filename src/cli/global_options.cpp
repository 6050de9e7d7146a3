#include "cli/global_options.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "cli/usage.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "foundation/wipe.h"
#include "protocol/facts.h"

namespace morvex {

std::string g_server = "localhost";
int g_port = protocol::kDefaultPort;
std::string g_domain = ".";
std::string g_login;
std::string g_password;
bool g_passwordGiven = false;
std::string g_sessionKey;
std::string g_fileName;

namespace {

void takeSecret(Arguments& arguments, std::string& secret) {
  char* value = arguments.takeValue();
  wipe(secret);  // the assignment may free an earlier value without overwriting it
  secret = value;
  wipe(value, std::strlen(value));
}

int takePort(Arguments& arguments) {
  const char* value = arguments.takeValue();
  std::int32_t port = 0;
  try {
    port = stringToInt(value);
  } catch (const error::EParseError&) {
    usageError("The -p switch takes a number. Perhaps you meant -P?");
  }
  if (port < 1 || port > 65535) {
    usageError("The port number must be between 1 and 65535");
  }
  return port;
}

void takeOption(Arguments& arguments) {
  switch (arguments.letter()) {
    case 'h':
      printUsage();
      std::exit(EXIT_SUCCESS);
    case 'P':
      takeSecret(arguments, g_password);
      g_passwordGiven = true;
      break;
    case 'S':
      takeSecret(arguments, g_sessionKey);
      break;
    case 'd':
      g_domain = arguments.takeValue();
      break;
    case 'f':
      g_fileName = arguments.takeValue();
      break;
    case 'l':
      g_login = arguments.takeValue();
      break;
    case 'p':
      g_port = takePort(arguments);
      break;
    case 's':
      g_server = arguments.takeValue();
      break;
    default:
      arguments.refuseOption();
  }
}

}  // namespace

void parseGlobalOptions(Arguments& arguments) {
  while (arguments.nextOption()) {
    takeOption(arguments);
  }
  if (arguments.atEnd()) {
    usageError("No command given.");
  }
  if (g_login.empty() && g_sessionKey.empty()) {
    usageError("A login must be specified.");
  }
}

}  // namespace morvex
