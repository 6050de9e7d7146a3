#include "sandbox/select_answer.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace sandbox {
namespace {

constexpr std::size_t kObjectsPerPortion = 256;

}  // namespace

SelectAnswer::SelectAnswer(std::int32_t requestId, const Tree& tree, Pattern pattern,
                           std::vector<Match> matches)
    : requestId_(requestId), tree_(tree), pattern_(std::move(pattern)), matches_(std::move(matches)) {}

bool SelectAnswer::writePortion(protocol::BasicIo& io, bool legacy) {
  ItemWriter to(io, legacy);
  if (next_ == 0) {
    to.openResponse(requestId_, protocol::SelectResp::kSchema.tag);
    to.open(protocol::BE_SEQ);
  }
  const std::size_t end = std::min(next_ + kObjectsPerPortion, matches_.size());
  for (; next_ < end; ++next_) {
    closeDownTo(to, matches_[next_].depth);
    openObject(to, matches_[next_]);
  }
  if (next_ < matches_.size()) {
    return false;
  }
  closeDownTo(to, 0);
  to.close();
  to.closeResponse();
  return true;
}

void SelectAnswer::closeDownTo(ItemWriter& to, std::uint32_t depth) {
  for (; openObjects_ > depth; --openObjects_) {
    to.close();  // its children
    to.open(protocol::BE_SET);
    to.close();
    to.close();
  }
}

// Up to the list of its children, which stays open.
void SelectAnswer::openObject(ItemWriter& to, const Match& match) {
  to.open(protocol::Object::kSchema.tag);
  to.text(classNameOf(tree_[match.object].objectClass));
  to.number(match.object);
  to.text(tree_.id(match.object));
  to.text(tree_.version(match.object));
  to.open(protocol::BE_SEQ);
  bool all = false;
  const std::vector<std::string_view>& wanted = pattern_.wanted(match.steps, all);
  for (const std::string_view name : all ? tree_.propertyNames(match.object) : wanted) {
    if (const protocol::Property* property = tree_.property(match.object, name, scratch_)) {
      to.item(*property);
    }
  }
  to.close();
  to.open(protocol::BE_SEQ);
  ++openObjects_;
}

}  // namespace sandbox
