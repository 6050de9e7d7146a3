#pragma once

#include <string>
#include <vector>

namespace morvex {

// Values for TZ: as many different zones as the system has.
std::vector<std::string> zonesToTry();

}  // namespace morvex
