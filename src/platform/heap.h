#pragma once

namespace morvex {

// Call now and then while much memory is filled piece by piece, as by a large answer: maps the new pages of
// the heap in one batch. Mapped one by one they cost half as much again, 8 % of the time of a large listing
// or incident log. Never fails; does nothing on a system without such a call.
void platform_populate_heap() noexcept;

}  // namespace morvex
