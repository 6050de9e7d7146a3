#pragma once

#include <cstddef>

namespace morvex {

// Asks for a password on the user's console, opened by name, so that the prompt reaches the user even if
// the standard streams lead elsewhere. The answer is not echoed; the echo is back on every way out.
// Returns null on success, with a terminated text in buffer, else a message. An answer that does not fit
// the buffer is refused, with the rest of its line, and so is the interrupt key, which ends the prompt
// instead of the program. So does a signal that would end the program, and is used up by that.
const char* console_read_password(char* buffer, std::size_t capacity, const char* prompt);

}  // namespace morvex
