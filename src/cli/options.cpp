#include "cli/options.h"

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
  wipe(secret);  // an earlier value that is too short to hold the new one would be freed as it is
  secret = value;
  wipe(value, std::strlen(value));
}

int takePort(Arguments& arguments) {
  const char* value = arguments.takeValue();
  std::int32_t port = 0;
  try {
    port = stringToInt(value);
  } catch (const error::EParseError&) {
    arguments.refuse("The -p switch takes a number. Perhaps you meant -P?");
  }
  if (port < 1 || port > 65535) {
    arguments.refuse("The port number must be between 1 and 65535");
  }
  return port;
}

}  // namespace

int parseGlobalOptions(int count, char** vector) {
  Arguments arguments(count, vector, 1);
  while (arguments.nextOption()) {
    switch (arguments.letter()) {
      case 'h':
        printUsage(vector[0]);
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
  if (arguments.atEnd()) {
    arguments.refuse("No command given.");
  }
  if (g_login.empty() && g_sessionKey.empty()) {
    arguments.refuse("A login must be specified.");
  }
  return arguments.index();
}

bool Arguments::nextOption() {
  if (atEnd() || (vector_[index_][0] != '-' && vector_[index_][0] != '/')) {
    return false;
  }
  option_ = take();
  if (std::strlen(option_) != 2) {
    refuseOption();
  }
  return true;
}

char* Arguments::takeValue() {
  if (atEnd()) {
    refuse(std::string("Missing parameter to option ") + option_);
  }
  return take();
}

void Arguments::refuseOption() const { refuse(std::string("Unknown option ") + option_); }

void Arguments::takeId(ObjectName& object) {
  object.text = takeValue();
  object.byId = true;
}

void Arguments::takePath(ObjectName& object) {
  if (object.byId) {
    return;
  }
  if (atEnd()) {
    refuse("No path specified. Either use -i or supply a path.");
  }
  object.text = take();
}

void Arguments::takeOnlyPath(ObjectName& object) {
  takePath(object);
  if (!object.byId && !atEnd()) {
    refuse("No arguments allowed after path specification.");
  }
}

void Arguments::refuse(std::string_view message) const { usageError(message, vector_[0]); }

}  // namespace morvex
