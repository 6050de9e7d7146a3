#pragma once

#include <cstdint>
#include <string>

#include "commands/find_object.h"
#include "query/data_query.h"
#include "query/result.h"

namespace morvex {

// The stored data of objects, which select exports and insert adds to.

// The server's table with the data of an object.
std::string dataTableName(const tqlquery::Result& object);

// Finds an object that has stored data. Throws as findObject does.
FoundObject findObjectWithData(const ObjectName& name);

// The answer with an object's data of a span of time, in seconds since 1970-01-01 00:00 GMT. Without entries
// if the server refused.
comquery::Held<dataquery::GetData> getData(const tqlquery::Result& object, std::int64_t startTime,
                                           std::int64_t endTime);

}  // namespace morvex
