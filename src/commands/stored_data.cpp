#include "commands/stored_data.h"

#include <algorithm>
#include <limits>

#include "cli/login.h"
#include "cli/progress.h"
#include "protocol/facts.h"

namespace morvex {

namespace object_class = protocol::object_class;

namespace {

// A request holds 32 bits, and the server's data lie within them. A time beyond them means everything up to
// that end; its low 32 bits would name another time.
std::int32_t requestTime(std::int64_t time) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(time, Limits::min(), Limits::max()));
}

}  // namespace

std::string dataTableName(const tqlquery::Result& object) {
  return object.className == object_class::kNode ? protocol::kIncidentTable : protocol::kResultTable;
}

FoundObject findObjectWithData(const ObjectName& name) {
  return findObject(name, {object_class::kCheck, object_class::kNode, object_class::kDomainExport,
                           object_class::kCheckAccumulation});
}

comquery::Held<dataquery::GetData> getData(const tqlquery::Result& object, std::int64_t startTime,
                                           std::int64_t endTime) {
  g_progress.enter(Way::received, "rows", &protocol::DataInterval::kSchema);
  return ask<dataquery::GetData>(object.id, dataTableName(object), requestTime(startTime),
                                 requestTime(endTime), 0, 0, true);
}

}  // namespace morvex
