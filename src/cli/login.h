#pragma once

#include <string>

#include "session/connection.h"

namespace morvex {

// The session of the run, from login until the process ends; it is never closed in between.
extern Connection* g_connection;
// Where every look-up starts.
extern std::string g_rootObjectId;

// Opens the session that the global options describe, after asking for the password if -P was not given.
// Afterwards the options hold neither the password nor the session key any more.
// Throws error::EFatal, error::EParseError, and what Connection throws.
void login();

}  // namespace morvex
