#include "sandbox/selection.h"

#include <bit>
#include <map>
#include <string_view>
#include <utility>

namespace morvex::sandbox {
namespace {

// One object of an answer. Those below it follow, one deeper.
struct Match {
  ObjectIndex object;
  std::uint32_t depth;
  Pattern::Steps steps;  // that put it in the answer
};

// Walks down the tree and collects each object whose steps are fulfilled by the objects collected below it.
// An object is entered ahead of its children, and taken back if its steps are not fulfilled.
class Walk {
 public:
  Walk(const Tree& tree, Pattern& pattern) : tree_(tree), pattern_(pattern) { frames_.emplace_back(); }

  void from(ObjectIndex start) {
    enter(start, pattern_.first());
    while (frames_.size() > 1) {
      Frame& frame = frames_.back();
      const ObjectIndex child = frame.nextChild;
      if (child == kNoObject) {
        leave();
        continue;
      }
      frame.nextChild = tree_[child].nextSibling;
      enter(child, frame.candidates);
    }
  }

  std::vector<Match> take() { return std::move(matches_); }

 private:
  struct Frame {
    std::size_t match = 0;
    ObjectIndex nextChild = kNoObject;
    Pattern::Steps candidates = 0;  // for the children
    Pattern::Steps below = 0;       // the steps that put children in the answer
    std::map<std::size_t, std::uint32_t> counts;
  };

  void enter(ObjectIndex object, Pattern::Steps candidates) {
    const Pattern::Steps matched = pattern_.matching(tree_, object, candidates);
    if (matched == 0) {
      return;
    }
    const auto depth = static_cast<std::uint32_t>(frames_.size() - 1);
    matches_.push_back({object, depth, matched});
    const Pattern::Steps behind = pattern_.behind(matched);
    Frame& frame = frames_.emplace_back();
    frame.match = matches_.size() - 1;
    frame.candidates = behind;
    frame.nextChild = behind == 0 ? kNoObject : tree_[object].firstChild;
  }

  void leave() {
    const Frame& frame = frames_.back();
    const std::size_t match = frame.match;
    const Pattern::Steps matched = pattern_.fulfilled(matches_[match].steps, frame.below);
    frames_.pop_back();
    const Pattern::Steps found = withinLimits(matched, frames_.back());
    if (found == 0) {
      matches_.resize(match);
      return;
    }
    matches_[match].steps = found;
    frames_.back().below |= found;
  }

  Pattern::Steps withinLimits(Pattern::Steps found, Frame& above) const {
    for (Pattern::Steps left = found & pattern_.limited(); left != 0; left &= left - 1) {
      const auto step = static_cast<std::size_t>(std::countr_zero(left));
      if (++above.counts[step] > pattern_.limit(step)) {
        found &= ~(Pattern::Steps{1} << step);
      }
    }
    return found;
  }

  const Tree& tree_;
  Pattern& pattern_;
  std::vector<Match> matches_;
  std::vector<Frame> frames_;  // the first one is above the start objects
};

// Keeps an object for a step only if the object above it is kept for the step in front.
void keepReachable(const Pattern& pattern, std::vector<Match>& matches) {
  std::vector<Pattern::Steps> allowed{pattern.first()};  // by depth
  std::size_t kept = 0;
  for (Match match : matches) {
    match.steps &= allowed[match.depth];
    allowed.resize(match.depth + 2);
    allowed[match.depth + 1] = pattern.behind(match.steps);
    if (match.steps != 0) {
      matches[kept++] = match;
    }
  }
  matches.resize(kept);
}

class SelectAnswer final : public ObjectsAnswer {
 public:
  SelectAnswer(std::int32_t requestId, const Tree& tree, Pattern pattern, std::vector<Match> matches)
      : ObjectsAnswer(requestId, 0, matches.size()),
        tree_(tree),
        pattern_(std::move(pattern)),
        matches_(std::move(matches)) {}

 private:
  void open(ItemWriter& to) const override { to.open(protocol::SelectResp::kSchema.tag); }

  void writeObject(ItemWriter& to, std::size_t number) override {
    const Match& match = matches_[number];
    begin(to, match.depth, classNameOf(tree_[match.object].objectClass), match.object, tree_.id(match.object),
          tree_.version(match.object));
    bool all = false;
    const std::vector<std::string_view>& wanted = pattern_.wanted(match.steps, all);
    for (const std::string_view name : all ? tree_.propertyNames(match.object) : wanted) {
      if (const protocol::Property* property = tree_.property(match.object, name, scratch_)) {
        property->write(to);
      }
    }
    endProperties(to);
  }

  const Tree& tree_;
  Pattern pattern_;
  std::vector<Match> matches_;
  protocol::Property scratch_;
};

}  // namespace

std::unique_ptr<Answer> select(std::int32_t requestId, const Tree& tree, Pattern pattern,
                               const std::vector<ObjectIndex>& start) {
  Walk walk(tree, pattern);
  for (const ObjectIndex index : start) {
    walk.from(index);
  }
  std::vector<Match> matches = walk.take();
  keepReachable(pattern, matches);
  if (matches.empty()) {
    throw Refusal(ErrorCode::nothingMatched);
  }
  return std::make_unique<SelectAnswer>(requestId, tree, std::move(pattern), std::move(matches));
}

}  // namespace morvex::sandbox
