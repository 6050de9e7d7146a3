#include "foundation/wipe.h"

#include <cstring>

namespace morvex {

void wipe(void* memory, std::size_t size) noexcept {
  if (size == 0) {
    return;
  }
  std::memset(memory, 0, size);
  asm volatile("" : : "r"(memory) : "memory");  // tells the compiler that the zeros are read
}

void wipe(std::string& text) noexcept {
  text.resize(text.capacity());  // overwrites longer content of the past as well
  wipe(text.data(), text.size());
  text.clear();
}

}  // namespace morvex
