#include "sandbox/selection.h"

#include <bit>
#include <map>
#include <optional>
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
//
// The walk goes on in turns, and requests of other clients may come in between. They change properties, but
// never add, remove or move an object, so places in the tree stay what they are. No value of a property is
// kept from one turn to the next: each object is compared as it is when its turn comes.
class Walk {
 public:
  Walk(const Tree& tree, Pattern& pattern, std::vector<ObjectIndex> start)
      : tree_(tree), pattern_(pattern), start_(std::move(start)) {
    frames_.emplace_back();
  }

  // Returns whether all is walked through; if not, the turn is over.
  bool goOn(Turn& turn) {
    while (candidate_.object != kNoObject || choose()) {
      if (!pattern_.match(tree_, candidate_, turn)) {
        return false;
      }
      enter();
      candidate_.object = kNoObject;
      turn.spend(1);
      if (turn.isSpent()) {
        return false;
      }
    }
    return true;
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

  // Makes the next object the candidate. Returns false behind the last.
  bool choose() {
    while (frames_.size() > 1) {
      Frame& frame = frames_.back();
      if (frame.nextChild != kNoObject) {
        candidate_ = {frame.nextChild, frame.candidates};
        frame.nextChild = tree_[frame.nextChild].nextSibling;
        return true;
      }
      leave();
    }
    if (nextStart_ == start_.size()) {
      return false;
    }
    candidate_ = {start_[nextStart_++], pattern_.first()};
    return true;
  }

  void enter() {
    const Pattern::Steps matched = candidate_.matched;
    if (matched == 0) {
      return;
    }
    const auto depth = static_cast<std::uint32_t>(frames_.size() - 1);
    matches_.push_back({candidate_.object, depth, matched});
    const Pattern::Steps behind = pattern_.behind(matched);
    Frame& frame = frames_.emplace_back();
    frame.match = matches_.size() - 1;
    frame.candidates = behind;
    frame.nextChild = behind == 0 ? kNoObject : tree_[candidate_.object].firstChild;
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
  std::vector<ObjectIndex> start_;
  std::size_t nextStart_ = 0;
  Pattern::Candidate candidate_;
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
  SelectAnswer(std::int32_t requestId, const Tree& tree, Pattern pattern, std::vector<ObjectIndex> start)
      : ObjectsAnswer(requestId), tree_(tree), pattern_(std::move(pattern)) {
    walk_.emplace(tree_, pattern_, std::move(start));
  }

  bool prepare(Turn& turn, bool) override {
    if (!walk_->goOn(turn)) {
      return false;
    }
    matches_ = walk_->take();
    walk_.reset();
    keepReachable(pattern_, matches_);
    if (matches_.empty()) {
      throw Refusal(ErrorCode::nothingMatched);
    }
    pattern_.forgetFilters();
    setRange(0, matches_.size());
    return true;
  }

  std::size_t size() const override { return matches_.capacity() * sizeof(Match); }

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
  std::optional<Walk> walk_;  // until it is over
  std::vector<Match> matches_;
  protocol::Property scratch_;
};

}  // namespace

std::unique_ptr<Answer> select(std::int32_t requestId, const Tree& tree, Pattern pattern,
                               std::vector<ObjectIndex> start) {
  return std::make_unique<SelectAnswer>(requestId, tree, std::move(pattern), std::move(start));
}

}  // namespace morvex::sandbox
