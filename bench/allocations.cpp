#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {
std::uint64_t g_allocations = 0;
}

std::uint64_t allocationCount() { return g_allocations; }

void* operator new(std::size_t size) {
  ++g_allocations;
  if (void* memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
