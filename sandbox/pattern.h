#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/messages/object_tree.h"
#include "sandbox/comparison.h"
#include "sandbox/tree.h"
#include "sandbox/turn.h"

namespace morvex::sandbox {

// A pattern made ready to be matched. This is how the server reads the query language:
//
// The first step applies to the start objects, every other step to the children of the objects that the step
// in front of it matched. An object matches a step if it is of the step's class ("." is any class) and every
// term of the filter holds. A term does not hold for an object without the property.
//   >  An object is in the answer only if an object below it matched one of the steps that follow. Of a group
//      ( a | b : c ), a or b must match; c is optional.
//   *  The step also applies to the children of the objects that it matched. If steps follow, it may match no
//      object at all: the steps behind it then apply in its place.
//   $  The objects of the step are in the answer even if nothing below them matched.
//   =n Of the objects that the step matches below one object, or among the start objects, the first n count.
//   !  All properties are wanted.
// "#" and "-" are not implemented. Filters may use "id"; it is never sent as a property, since every object
// carries its id anyway.
class Pattern {
 public:
  // One bit for each step of the pattern.
  using Steps = std::uint64_t;
  static constexpr std::size_t kMaxSteps = 64;

  // An object, while it is found out which steps match it.
  struct Candidate {
    ObjectIndex object = kNoObject;
    Steps left = 0;        // those that may match it and are not decided
    Steps matched = 0;     // those that do
    std::size_t term = 0;  // of the first step that is left; those ahead of it hold

    // Decides the first step that is left.
    void decide(bool matches) {
      const Steps first = left & (~left + 1);
      matched |= matches ? first : 0;
      left ^= first;
      term = 0;
    }
  };

  // The tree must outlive the pattern. Throws Refusal for a pattern with too many steps or with a modifier
  // that is not implemented.
  Pattern(protocol::Owned<protocol::PathPattern> source, const Tree& tree);

  // The steps that may match a start object.
  Steps first() const { return first_; }

  // Goes on deciding which steps match. Returns whether it is known; if not, the turn is over. Throws Refusal
  // if a filter cannot be applied to the object.
  bool match(const Tree& tree, Candidate& candidate, Turn& turn);

  // Gives the memory of the filters back, behind the last match.
  void forgetFilters();

  // The steps that may match the children of an object that matched any of these.
  Steps behind(Steps steps) const;

  // Of the steps that an object matched, those that put it in the answer. below: the steps for which its
  // children are in the answer.
  Steps fulfilled(Steps matched, Steps below) const;

  // How many objects below one a step may find; empty without such a limit.
  std::optional<std::uint32_t> limit(std::size_t step) const { return steps_[step].limit; }
  Steps limited() const { return limited_; }

  // The properties that any of the steps wants, without repetition. all is set for "!".
  const std::vector<std::string_view>& wanted(Steps steps, bool& all);

 private:
  struct Term {
    std::string_view name;
    protocol::RelOperator op;
    const protocol::Property* constant;
    bool isIdentity;  // compares the id for equality with target
    std::optional<ObjectIndex> target;
    std::unique_ptr<Elements> elements;  // of a constant that is a list
  };
  struct Step {
    std::optional<ObjectClass> objectClass;
    bool impossible = false;
    std::uint32_t flags = 0;
    std::optional<std::uint32_t> limit;
    std::vector<Term> filter;
    std::vector<std::string_view> names;  // of the wanted properties that any object has; they are the tree's
    const protocol::PathPattern* source = nullptr;
    std::vector<std::size_t> required, optional;  // the steps that follow
    Steps behind = 0;                             // that may match children
    Steps needed = 0;                             // one of these must match a child, unless empty
  };
  struct Wanted {
    Steps steps;
    bool all;
    std::vector<std::string_view> names;
  };

  void collect();
  static void compile(Step& step, const Tree& tree);
  void connect();
  bool holds(const Tree& tree, ObjectIndex index, Term& term, Turn& turn);

  protocol::Owned<protocol::PathPattern> source_;
  std::vector<Step> steps_;  // each ahead of those that follow it
  Steps first_ = 0;
  Steps limited_ = 0;
  std::vector<Wanted> wanted_;
  protocol::Property scratch_;
};

}  // namespace morvex::sandbox
