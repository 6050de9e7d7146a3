#include "sandbox/select_answer.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace morvex::sandbox {
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
    writeObject(to, matches_[next_]);
  }
  if (next_ < matches_.size()) {
    to.flush();
    return false;
  }
  nesting_.end(to);
  to.close();
  to.closeResponse();
  to.flush();
  return true;
}

void SelectAnswer::writeObject(ItemWriter& to, const Match& match) {
  nesting_.begin(to, match.depth, classNameOf(tree_[match.object].objectClass), match.object,
                 tree_.id(match.object), tree_.version(match.object));
  bool all = false;
  const std::vector<std::string_view>& wanted = pattern_.wanted(match.steps, all);
  for (const std::string_view name : all ? tree_.propertyNames(match.object) : wanted) {
    if (const protocol::Property* property = tree_.property(match.object, name, scratch_)) {
      property->write(to);
    }
  }
  nesting_.endProperties(to);
}

}  // namespace morvex::sandbox
