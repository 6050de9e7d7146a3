#pragma once

#include "protocol/messages/object_tree.h"

namespace morvex::sandbox {

// Whether a filter's operator holds between an object's property and the constant. Both must be of one type,
// but numbers of any type compare by value. A null equals a null and is below anything else.
//   = != < > <= >=  numbers by value; texts in natural order, case breaking ties; enumerations by equality;
//                   Boolean and Id have no order
//   ~= !~           the text matches a pattern in which * stands for any run of bytes and ? for one;
//   case-blind in              the text is one of a set intersects      a list has an element that is in the
//   set subsetof        each element of a list is in the set supersetof      a list has all elements of the
//   set isubstr         the text contains the constant, case-blind
// From ~= on, a null fulfils !~ alone. Throws Refusal for what cannot be compared.
bool holds(const protocol::Property& value, protocol::RelOperator op, const protocol::Property& constant);

}  // namespace morvex::sandbox
