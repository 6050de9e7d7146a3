#include "foundation/wipe.h"

#include <cstring>

namespace morvex {

void wipe(void* memory, std::size_t size) noexcept {
  if (size == 0) {
    return;
  }
  std::memset(memory, 0, size);
  asm volatile("" : : "r"(memory) : "memory");  // as far as the compiler knows, somebody reads the zeros
}

void wipe(std::string& text) noexcept {
  text.resize(text.capacity());  // what was there once and was shortened away is overwritten as well
  wipe(text.data(), text.size());
  text.clear();
}

}  // namespace morvex
