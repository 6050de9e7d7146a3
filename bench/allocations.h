#pragma once

#include <cstdint>

// How often this program has asked for memory so far.
std::uint64_t allocationCount();
