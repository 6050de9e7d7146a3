#pragma once

#include <string>
#include <vector>

// Texts of TZ, and more of them than 20 different zones where the system has so many.
std::vector<std::string> zonesToTry();
