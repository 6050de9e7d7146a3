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

// Makes a query and sends it. Needs a login. Throws what the query's constructor and Connection::post throw.
template <class Query, class... Values>
comquery::Held<Query> post(Values&&... values) {
  auto query = comquery::make<Query>(std::forward<Values>(values)...);
  g_connection->post(*query);
  return query;
}

// The same, and waits for the answer; the query's errorCode tells of a refusal. Throws what Connection::await
// throws as well.
template <class Query, class... Values>
comquery::Held<Query> ask(Values&&... values) {
  auto query = post<Query>(std::forward<Values>(values)...);
  g_connection->await(*query);
  return query;
}

}  // namespace morvex
