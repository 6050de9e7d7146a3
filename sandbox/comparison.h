#pragma once

#include "protocol/messages/object_tree.h"

namespace morvex::sandbox {

// Whether a filter's operator holds between an object's property and the constant. Both must be of one type,
// except that numbers of different types compare by value. A null equals a null and is below anything else.
//   = != < > <= >=  numbers by value; texts in natural order, case breaking ties; enumerations by equality;
//                   Boolean and Id are not ordered
//   ~= !~           the text matches a pattern: * is any run of bytes, ? is one; case-blind
//   in              the text is an element of a set
//   intersects      the list and a set share an element
//   subsetof        each element of the list is in a set
//   supersetof      the list has all elements of a set
//   isubstr         the text contains the constant; case-blind
// The operators from ~= on do not hold for a null, except !~. Throws Refusal if the two cannot be compared.
bool holds(const protocol::Property& value, protocol::RelOperator op, const protocol::Property& constant);

}  // namespace morvex::sandbox
