#include "sandbox/pattern.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "protocol/facts.h"
#include "query/tql/property_codec.h"
#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

using protocol::PathPattern;
using protocol::RelOperator;

using namespace protocol::pattern_flag;
constexpr std::uint32_t kKnownFlags = kRecursive | kAllProperties | kKept;

Pattern::Steps bit(std::size_t step) { return Pattern::Steps{1} << step; }

template <class Function>
void forEachStep(Pattern::Steps steps, Function&& function) {
  for (; steps != 0; steps &= steps - 1) {
    function(static_cast<std::size_t>(std::countr_zero(steps)));
  }
}

std::optional<ObjectClass> classNamed(const std::string& name) {
  for (const ObjectClass candidate :
       {ObjectClass::domain, ObjectClass::node, ObjectClass::checkGroup, ObjectClass::check,
        ObjectClass::checkAccumulation, ObjectClass::domainExport}) {
    if (classNameOf(candidate) == name) {
      return candidate;
    }
  }
  return std::nullopt;
}

bool isIdentity(const protocol::RelativeExpr& term) {
  return term.prop->name == "id" && tql::baseOf(*term.prop) == tql::kId &&
         term.prop->data.as<protocol::StringProp>() != nullptr &&
         (term.op == RelOperator::equal || term.op == RelOperator::notEqual);
}

}  // namespace

Pattern::Pattern(protocol::Owned<PathPattern> source, const Tree& tree) : source_(std::move(source)) {
  collect();
  for (Step& step : steps_) {
    compile(step, tree);
  }
  connect();
}

// Lists the steps without recursion: a client may nest them to any depth.
void Pattern::collect() {
  steps_.emplace_back().source = source_.get();
  for (std::size_t at = 0; at < steps_.size(); ++at) {
    const auto append = [&](const protocol::ListOfPathPattern& following,
                            std::vector<std::size_t> Step::*list) {
      for (const auto& step : following) {
        if (steps_.size() == kMaxSteps) {
          throw Refusal(ErrorCode::notImplemented,
                        "A pattern may have " + std::to_string(kMaxSteps) + " steps at most");
        }
        (steps_[at].*list).push_back(steps_.size());
        steps_.emplace_back().source = step.get();
      }
    };
    append(steps_[at].source->children, &Step::required);
    append(steps_[at].source->colonChildren, &Step::optional);
  }
}

void Pattern::compile(Step& step, const Tree& tree) {
  const PathPattern& source = *step.source;
  if ((source.flags & ~kKnownFlags) != 0) {
    throw Refusal(ErrorCode::notImplemented, "The modifiers # and - are not implemented");
  }
  step.flags = source.flags;
  step.objectClass = classNamed(source.className);
  step.impossible = !step.objectClass && source.className != ".";
  if (source.number.isSet()) {
    step.limit = source.number.value();
    step.impossible = step.impossible || step.limit == 0U;
  }
  for (const auto& term : source.filter) {
    const protocol::Property& constant = *term->prop;
    Term compiled{constant.name, term->op, &constant, isIdentity(*term), std::nullopt, nullptr};
    if (compiled.isIdentity) {
      compiled.target = tree.find(constant.data.as<protocol::StringProp>()->value);
    }
    if (const auto* list = constant.data.as<protocol::StringListProp>()) {
      compiled.elements = std::make_unique<Elements>(list->value);
    }
    step.filter.push_back(std::move(compiled));
  }
  for (const std::string& wanted : source.properties) {
    const auto name = tree.propertyNamed(wanted);
    if (name && std::ranges::find(step.names, *name) == step.names.end()) {
      step.names.push_back(*name);
    }
  }
}

// Goes from the last step to the first: a step needs the results of those that follow it.
void Pattern::connect() {
  std::vector<Steps> entry(steps_.size());        // the steps that may match where this one may
  std::vector<Steps> neededEntry(steps_.size());  // without those behind a colon
  for (std::size_t i = steps_.size(); i-- > 0;) {
    Step& step = steps_[i];
    Steps followers = 0;
    for (const std::size_t next : step.required) {
      followers |= entry[next];
      step.needed |= neededEntry[next];
    }
    for (const std::size_t next : step.optional) {
      followers |= entry[next];
    }
    const bool recursive = (step.flags & kRecursive) != 0;
    entry[i] = bit(i) | (recursive ? followers : 0);
    neededEntry[i] = bit(i) | (recursive ? step.needed : 0);
    step.behind = followers | (recursive ? bit(i) : 0);
    if (step.needed != 0 && recursive) {
      step.needed |= bit(i);
    }
    limited_ |= step.limit ? bit(i) : 0;
  }
  first_ = entry[0];
}

bool Pattern::match(const Tree& tree, Candidate& candidate, Turn& turn) {
  while (candidate.left != 0) {
    Step& step = steps_[static_cast<std::size_t>(std::countr_zero(candidate.left))];
    if (step.impossible || (step.objectClass && *step.objectClass != tree[candidate.object].objectClass)) {
      candidate.decide(false);
    } else if (candidate.term == step.filter.size()) {
      candidate.decide(true);
    } else {
      Term& term = step.filter[candidate.term];
      if (term.elements != nullptr && !term.elements->collect(turn)) {
        return false;
      }
      if (holds(tree, candidate.object, term, turn)) {
        ++candidate.term;
      } else {
        candidate.decide(false);
      }
      if (turn.isSpent()) {
        return false;
      }
    }
  }
  return true;
}

bool Pattern::holds(const Tree& tree, ObjectIndex index, Term& term, Turn& turn) {
  turn.spend(1);
  if (term.isIdentity) {
    return (term.target == index) == (term.op == RelOperator::equal);
  }
  const protocol::Property* const value = tree.property(index, term.name, scratch_);
  if (value == nullptr) {
    return false;
  }
  const auto* const list = value->data.as<protocol::StringListProp>();
  turn.spend(list == nullptr ? 0 : list->value.size());
  return sandbox::holds(*value, term.op, *term.constant, term.elements.get());
}

void Pattern::forgetFilters() {
  for (Step& step : steps_) {
    std::vector<Term>().swap(step.filter);
    step.source = nullptr;
  }
  source_ = {};
}

Pattern::Steps Pattern::behind(Steps steps) const {
  Steps result = 0;
  forEachStep(steps, [&](std::size_t i) { result |= steps_[i].behind; });
  return result;
}

Pattern::Steps Pattern::fulfilled(Steps matched, Steps below) const {
  Steps result = 0;
  forEachStep(matched, [&](std::size_t i) {
    const Step& step = steps_[i];
    if (step.needed == 0 || (step.flags & kKept) != 0 || (step.needed & below) != 0) {
      result |= bit(i);
    }
  });
  return result;
}

const std::vector<std::string_view>& Pattern::wanted(Steps steps, bool& all) {
  auto found = std::ranges::find(wanted_, steps, &Wanted::steps);
  if (found == wanted_.end()) {
    Wanted entry{steps, false, {}};
    forEachStep(steps, [&](std::size_t i) {
      entry.all = entry.all || (steps_[i].flags & kAllProperties) != 0;
      for (const std::string_view name : steps_[i].names) {
        if (std::ranges::find(entry.names, name) == entry.names.end()) {
          entry.names.push_back(name);
        }
      }
    });
    found = wanted_.insert(wanted_.end(), std::move(entry));
  }
  all = found->all;
  return found->names;
}

}  // namespace morvex::sandbox
