#pragma once

#include <cstddef>

namespace morvex {

// Asks for a password on the user's console. It is opened by name, so the prompt reaches the user even if the
// standard streams lead elsewhere. The answer is not echoed; the echo is back on every way out.
// Returns null on success, with a terminated text in buffer, otherwise a message. Refuses an answer that does
// not fit the buffer, and discards the rest of its line. The interrupt key ends the prompt instead of the
// program. A fatal signal ends the prompt as well, and is consumed. An answer that holds Ctrl+Z is refused.
// On Linux it waits until no other process prompts on the terminal. The suspend key stops the program, which
// asks again when it is continued.
const char* console_read_password(char* buffer, std::size_t capacity, const char* prompt);

}  // namespace morvex
