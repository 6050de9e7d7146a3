#pragma once

#include "cli/arguments.h"

namespace morvex {

// The command functions. Each gets the arguments behind the command word and does the whole rest: its
// options, the log-in, the request, the printing. They throw error::Exception and end the run themselves for
// a bad command line.
void listDomains(Arguments& arguments);
void listNodes(Arguments& arguments);
void listChecks(Arguments& arguments);
void selectData(Arguments& arguments);
void insertData(Arguments& arguments);
void updateObject(Arguments& arguments);
void listProperties(Arguments& arguments);
void listMetrics(Arguments& arguments);
// Does not return.
void monitorMetrics(Arguments& arguments);

}  // namespace morvex
