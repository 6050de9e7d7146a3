#include "platform/heap.h"

namespace morvex {

// This system has no call that makes many pages of a heap at once.
void platform_populate_heap() noexcept {}

}  // namespace morvex
