#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "protocol/messages/object_tree.h"
#include "sandbox/turn.h"

namespace morvex::sandbox {

// The different elements of a filter's list, for comparisons that do not go through all of it each time.
class Elements {
 public:
  // The list must outlive them.
  explicit Elements(const protocol::ListOfString1024& list) : list_(list) {
    places_.reserve(list.size());  // growing would take long, and at one stretch
  }

  // Goes on taking the elements in. Returns whether all of them are; if not, the turn is over.
  bool collect(Turn& turn);

  bool has(const std::string& text) const { return places_.contains(text); }
  // Whether the list holds all elements.
  bool areIn(const protocol::ListOfString1024& list);

 private:
  const protocol::ListOfString1024& list_;
  std::size_t collected_ = 0;
  std::unordered_map<std::string_view, std::uint32_t> places_;  // with the search that found it last
  std::uint32_t search_ = 0;
};

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
// The operators from ~= on do not hold for a null, except !~. elements are those of a constant that is a
// list, otherwise null. Throws Refusal if the two cannot be compared.
bool holds(const protocol::Property& value, protocol::RelOperator op, const protocol::Property& constant,
           Elements* elements);

}  // namespace morvex::sandbox
