#pragma once

#include "platform/time_zone.h"

namespace morvex {

// The command functions. Each gets the argument vector and the index of the first argument behind the command
// word, and does all the rest: its options, the log-in, the request, the printing.
// They throw error::Exception and end the run themselves for a bad command line.
void listDomains(int count, char** vector, int index);
void listNodes(int count, char** vector, int index);
void listChecks(int count, char** vector, int index);
void selectData(int count, char** vector, int index, const TimeZone& zone);
void insertData(int count, char** vector, int index, const TimeZone& zone);
void updateObject(int count, char** vector, int index);
void listProperties(int count, char** vector, int index);
void listMetrics(int count, char** vector, int index);
// Does not return.
void monitorMetrics(int count, char** vector, int index);

}  // namespace morvex
