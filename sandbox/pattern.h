#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/messages/object_tree.h"
#include "sandbox/tree.h"

namespace morvex::sandbox {

// A pattern made ready to be matched. This server's reading of the query language:
//
// A step applies to the children of the objects that the step in front of it matched, the first step to the
// start objects. An object matches a step if its class does ("." is any) and all terms of the filter hold; a
// term on a property that the object lacks doesn't.
//   >  An object that matched a step is in the answer only if something below it matched one of the steps
//   that
//      follow. Of a group ( a | b : c ), a or b has to be found; c may be there as well, and need not.
//   *  The step also applies to the children of the objects that it matched, so that these nest. Where steps
//      follow it, it may just as well match no object at all: they then apply where it would have.
//   $  The objects of the step are in the answer even if nothing below them matched.
//   =n Below one object, or among the start objects, only the first n objects that the step finds count.
//   !  All properties are wanted. "id" can be filtered on but isn't sent, since every object bears its id.
// "#" and "-" are not implemented.
class Pattern {
 public:
  // One bit for each step of the pattern.
  using Steps = std::uint64_t;
  static constexpr std::size_t kMaxSteps = 64;

  // Throws Refusal for a pattern that is too large or holds what is not implemented.
  Pattern(protocol::Owned<protocol::PathPattern> source, const Tree& tree);

  // The steps that may match a start object.
  Steps first() const { return first_; }

  // Which of the candidates match an object. Throws Refusal if a filter cannot be applied to it.
  Steps matching(const Tree& tree, ObjectIndex index, Steps candidates);

  // The steps that may match the children of an object that matched any of these.
  Steps behind(Steps steps) const;

  // Which of the steps that an object matched put it in the answer, when its children are there for these.
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
  };
  struct Step {
    std::optional<ObjectClass> objectClass;
    bool impossible = false;
    std::uint32_t flags = 0;
    std::optional<std::uint32_t> limit;
    std::vector<Term> filter;
    const protocol::PathPattern* source = nullptr;
    std::vector<std::size_t> required, optional;  // the steps that follow
    Steps behind = 0;                             // that may match children
    Steps needed = 0;                             // of which one has to; none for a step that stands alone
  };
  struct Wanted {
    Steps steps;
    bool all;
    std::vector<std::string_view> names;
  };

  void collect();
  static void compile(Step& step, const Tree& tree);
  void connect();
  bool holdsAll(const Tree& tree, ObjectIndex index, const std::vector<Term>& filter);

  protocol::Owned<protocol::PathPattern> source_;
  std::vector<Step> steps_;  // each ahead of those that follow it
  Steps first_ = 0;
  Steps limited_ = 0;
  std::vector<Wanted> wanted_;
  protocol::Property scratch_;
};

}  // namespace morvex::sandbox
