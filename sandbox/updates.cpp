#include "sandbox/updates.h"

#include <optional>
#include <utility>
#include <vector>

#include "query/tql/property_codec.h"
#include "sandbox/property_rules.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {

std::string Updates::apply(protocol::UpdateReq& request) {
  const ObjectIndex object = tree_.indexOf(request.id);
  checkVersion(object, request.version);
  std::optional<ErrorCode> first;
  std::vector<std::string> texts;
  for (const auto& change : request.properties) {
    if (std::optional<Fault> fault = faultIn(tree_, object, change)) {
      first = first.value_or(fault->code);
      texts.push_back(std::move(fault->text));
    }
  }
  if (first) {
    throw Refusal(*first, std::move(texts));
  }
  for (auto& property : request.properties) {
    change(object, property);
  }
  if (!request.properties.empty()) {
    tree_.touch(object);
  }
  ++activity_.updates;
  return tree_.version(object);
}

void Updates::checkVersion(ObjectIndex object, const std::string& version) {
  const bool stale = version != tree_.version(object);
  if (!stale && conflictsLeft_ == 0) {
    return;
  }
  if (!stale) {
    --conflictsLeft_;
    tree_.touch(object);
  }
  ++activity_.conflicts;
  throw Refusal(ErrorCode::conflict);
}

// Only whether a null is inherited is the client's to say, of all the flags.
void Updates::change(ObjectIndex object, protocol::Property& change) {
  if ((change.typeWord & tql::kBaseMask) == tql::kAction) {
    ++activity_.actions;
    return;
  }
  protocol::Property& property = tree_.edit(object, change.name);
  property.typeWord &= ~tql::kInherited;
  if (change.data.as<protocol::NullProp>() != nullptr) {
    property.typeWord |= change.typeWord & tql::kInherited;
  }
  property.data = std::move(change.data);
}

}  // namespace morvex::sandbox
