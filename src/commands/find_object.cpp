#include "commands/find_object.h"

#include <algorithm>
#include <utility>

#include "cli/login.h"
#include "foundation/errors.h"

namespace morvex {

FoundObject findObject(const ObjectName& name, const std::vector<std::string>& acceptedClasses,
                       const std::string& properties) {
  // A refused query leaves no result, which says enough.
  auto query = ask<tqlquery::Select>(g_rootObjectId, pathExpression(name.text, name.byId, properties));
  const tqlquery::Result* object = query->find_result_opt(g_rootObjectId);
  if (object == nullptr) {
    throw error::EFatal("No " + classListText(acceptedClasses) + " found that matches \"" + name.text + "\"");
  }
  ObjectTrail trail;
  while (object->children.size() == 1) {
    object = object->children.front().get();
    trail.add(*object);
  }
  if (!object->children.empty()) {
    throw error::EFatal("Path is ambiguous.");
  }
  if (!acceptedClasses.empty() &&
      std::ranges::find(acceptedClasses, object->className) == acceptedClasses.end()) {
    throw error::EFatal("Path does not specify a " + classListText(acceptedClasses) + ", as it should.");
  }
  return {std::move(query), object, std::move(trail)};
}

}  // namespace morvex
