#include "foundation/heap.h"

// This system has no call that makes many pages of a heap at once.
void platform_populate_heap() noexcept {}
