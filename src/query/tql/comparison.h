#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/object_tree.h"

namespace tql {

// Whether the operator holds between two properties of one type: numbers by value, strings case-blind with
// runs of digits read as numbers, Boolean and Id by equality alone. Only the first six operators are known
// here. A null comes before every value. Throws errors::tql_incomparable.
bool compare(const protocol::Property& left, protocol::RelOperator op, const protocol::Property& right);

}  // namespace tql
