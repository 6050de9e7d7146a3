#pragma once

#include <string>
#include <vector>

namespace morvex {

// Texts of TZ, and more of them than 20 different zones where the system has so many.
std::vector<std::string> zonesToTry();

}  // namespace morvex
