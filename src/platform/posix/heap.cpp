#include "platform/heap.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace morvex {
namespace {

// The heap grows by this size, so that there are pages to map in a batch.
constexpr int kStep = 1024 * 1024;

std::uintptr_t heapEnd() noexcept { return reinterpret_cast<std::uintptr_t>(sbrk(0)); }

std::uintptr_t startPopulating() noexcept {
  mallopt(M_TOP_PAD, kStep);
  return heapEnd();
}

}  // namespace

void platform_populate_heap() noexcept {
  static std::uintptr_t populated = startPopulating();
  const std::uintptr_t end = heapEnd();
  if (end > populated) {
    const auto page = static_cast<std::uintptr_t>(getpagesize());
    const std::uintptr_t begin = populated & ~(page - 1);
    madvise(reinterpret_cast<void*>(begin), end - begin, MADV_POPULATE_WRITE);  // older systems refuse this
  }
  populated = end;
}

}  // namespace morvex
