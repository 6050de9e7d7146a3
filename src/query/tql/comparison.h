#pragma once

#include <list>
#include <string>

#include "protocol/messages/object_tree.h"
#include "query/result.h"

namespace morvex::tql {

// Whether the operator, one of the first six, holds between two properties of one type. Numbers compare by
// value, strings case-blind with runs of digits as numbers, Boolean and Id by equality alone. A null comes
// before every value. Throws errors::tql_incomparable.
bool compare(const protocol::Property& left, protocol::RelOperator op, const protocol::Property& right);

// Whether one of the first six operators holds for a comparison's outcome: negative, 0 or positive.
bool holds(protocol::RelOperator op, int order);

// Negative, 0 or positive. Case counts only between texts that are otherwise the same.
int compareTexts(const std::string& left, const std::string& right);

// Whether left goes before right. The first key in which they differ decides; an object without the property
// goes first in ascending order, last in descending. Throws errors::tql_incomparable.
bool compareForSort(const std::list<tqlquery::SortKey>& keys, const tqlquery::Result& left,
                    const tqlquery::Result& right);

}  // namespace morvex::tql
