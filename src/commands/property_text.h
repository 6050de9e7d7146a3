#pragma once

#include <set>
#include <string>

#include "platform/output.h"
#include "protocol/messages/object_tree.h"
#include "query/result.h"

namespace morvex {

// The value of a property as text, whatever its type. Throws errors::tql for a value that does not fit the
// type word.
std::string propertyText(const protocol::Property& property);

// Its type, with the first of its flags.
std::string propertyTypeText(const protocol::Property& property);

// Prints an object's properties, one on a line as name=value: all of them, or those in wanted.
void writeProperties(Output& output, const tqlquery::Result& object, bool showTypes, bool allProperties,
                     const std::set<std::string>& wanted);

}  // namespace morvex
