#include "platform/zones.h"

namespace morvex {

// This system knows one rule of daylight saving time. The system's own zone comes last, as Wine goes on with
// its rule.
std::vector<std::string> zonesToTry() {
  return {"CET-1CES", "EST5EDT", "NST3:30NDT", "IST-5:30", "ABC-14:00:07", "XXX12", ""};
}

}  // namespace morvex
