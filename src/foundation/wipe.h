#pragma once

#include <cstddef>
#include <string>

namespace morvex {

// Overwrites memory that held a secret; the compiler cannot drop it.
void wipe(void* memory, std::size_t size) noexcept;
void wipe(std::string& text) noexcept;  // to its capacity; leaves the text empty

}  // namespace morvex
