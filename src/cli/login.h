#pragma once

#include <string>
#include <utility>

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

// Makes a query, sends it and waits for its answer; the query's errorCode tells of a refusal. Needs a login.
// Throws what the query's constructor and Connection throw.
template <class Query, class... Values>
comquery::Held<Query> ask(Values&&... values) {
  auto query = comquery::make<Query>(std::forward<Values>(values)...);
  g_connection->post(*query);
  g_connection->await(*query);
  return query;
}

}  // namespace morvex
