#pragma once

#include <string>

#include "cli/arguments.h"

namespace morvex {

// The global options, which stand before the command word. Only parseGlobalOptions writes them, and login,
// which asks for a missing password and wipes the secrets once they have been used.
extern std::string g_server;
extern int g_port;  // 1 to 65535
extern std::string g_domain;
extern std::string g_login;
extern std::string g_password;
extern bool g_passwordGiven;      // -P was there, even with an empty value
extern std::string g_sessionKey;  // hexadecimal; when set, the session is reopened instead of logged in
extern std::string g_fileName;    // empty and "-" are the standard streams

// Reads the options and stops at the command word. Ends the run for -h and for a bad command line. The values
// of -P and -S are overwritten in the argument vector once they have been read, so that a list of processes
// does not show them.
void parseGlobalOptions(Arguments& arguments);

}  // namespace morvex
