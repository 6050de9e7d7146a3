#pragma once

#include <cstdint>

// How many rows the phase of the run that is under way has handled: read, written, sent or received, whole or
// begun. Whoever handles them counts them here, as that costs next to nothing; ProgressLine shows the number,
// and sets it back where a phase begins.
inline std::uint64_t g_rowCount = 0;
