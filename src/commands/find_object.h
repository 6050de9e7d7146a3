#pragma once

#include <string>
#include <vector>

#include "cli/arguments.h"
#include "query/object_path.h"
#include "query/result.h"
#include "query/select.h"
#include "session/request.h"

namespace morvex {

struct FoundObject {
  comquery::Held<tqlquery::Select> query;  // owns the objects that the others point into
  const tqlquery::Result* object;
  ObjectTrail trail;
};

// Finds one object of an accepted class; no classes accept any. properties is that of pathExpression. Needs a
// login. Throws error::EFatal, and what the query throws.
FoundObject findObject(const ObjectName& name, const std::vector<std::string>& acceptedClasses,
                       const std::string& properties = "");

}  // namespace morvex
