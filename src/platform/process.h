#pragma once

namespace morvex {

// Call first in main, in every program that uses these libraries:
// - A write to a closed pipe or past a size limit becomes an error of that write instead of a signal, and an
//   argument that the C library refuses an error of that call.
// - Descriptors 0 to 2 are occupied, so that no connection or file replaces a standard stream that the caller
//   closed.
// - Memory too short to throw an exception ends the run as an unknown exception does.
// - No message box waits on a screen for a click.
void prepareProcess();

// The part of prepareProcess that each system does its own way.
void platform_prepare_process();

// The arguments of the program and their number, made of those of main: in UTF-8 on Windows, unchanged on
// other systems. They live as long as the process and may be overwritten.
char** programArguments(int& count, char** argv);

}  // namespace morvex
