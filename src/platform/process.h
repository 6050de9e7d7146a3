#pragma once

namespace morvex {

// To be called first in main, by every program that uses these libraries: a write to a closed pipe or past a
// size limit becomes an error of that write instead of a signal, and an argument that the C library refuses,
// an error of that call. Descriptors 0 to 2 are occupied, so that no connection or file ever takes the place
// of a standard stream that the caller closed. Memory so short that nothing can be thrown ends the run as an
// unknown exception does. No box waits on a screen for somebody to click it away.
void prepareProcess();

// The arguments of the program, and how many they are, out of what main was given. In UTF-8, as the server's
// names are, on a system that hands them over in a form of its own; as they came on the others. They last as
// long as the process and may be overwritten.
char** programArguments(int& count, char** given);

}  // namespace morvex
