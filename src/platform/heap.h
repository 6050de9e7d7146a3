#pragma once

namespace morvex {

// For who is about to fill much memory piece by piece, such as the reader of a large answer, to be called now
// and then: the system makes the pages that the heap has grown by in one go. One by one, as they are touched,
// they cost half as much again: 8 % of the time of a large listing or incident log. Without faults, and
// without effect where the system cannot do it.
void platform_populate_heap() noexcept;

}  // namespace morvex
