#include "platform/console.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string_view>

#include "foundation/wipe.h"

namespace morvex {
namespace {

// The console of the prompt.
class PromptConsole {
 public:
  PromptConsole(const char* name, DWORD access) : handle_(open(name, access, 0)) {
    // A shell usually has it open as well, and newer systems then insist on sharing.
    if (!isOpen() && GetLastError() == ERROR_SHARING_VIOLATION) {
      handle_ = open(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE);
    }
  }
  ~PromptConsole() {
    if (isOpen()) {
      CloseHandle(handle_);
    }
  }
  PromptConsole(const PromptConsole&) = delete;
  PromptConsole& operator=(const PromptConsole&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool mode(DWORD& result) const { return GetConsoleMode(handle_, &result) != 0; }
  bool setMode(DWORD wanted) const { return SetConsoleMode(handle_, wanted) != 0; }
  bool write(std::string_view text) const;
  // False on failure. An interrupt key leaves a count of 0.
  bool read(char* buffer, DWORD capacity, DWORD& count) const {
    return ReadConsoleA(handle_, buffer, capacity, &count, nullptr) != 0;
  }
  void discardInput() const { FlushConsoleInputBuffer(handle_); }

 private:
  static HANDLE open(const char* name, DWORD access, DWORD sharing) {
    return CreateFileA(name, access, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
  }

  HANDLE handle_;
};

bool PromptConsole::write(std::string_view text) const {
  const auto length = static_cast<DWORD>(text.size());
  DWORD written = 0;
  return WriteConsoleA(handle_, text.data(), length, &written, nullptr) != 0 && written == length;
}

std::atomic<bool> g_interrupted;

BOOL WINAPI noteInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
    return FALSE;
  }
  g_interrupted = true;
  return TRUE;
}

// Keeps Ctrl+C and Ctrl+Break from ending the program with the echo off: the system ends the read, and the
// handler claims the event. Without ENABLE_PROCESSED_INPUT they would be input, but so would Backspace.
class HeldInterrupts {
 public:
  HeldInterrupts() {
    g_interrupted = false;
    SetConsoleCtrlHandler(noteInterrupt, TRUE);
  }
  ~HeldInterrupts() { SetConsoleCtrlHandler(noteInterrupt, FALSE); }
  HeldInterrupts(const HeldInterrupts&) = delete;
  HeldInterrupts& operator=(const HeldInterrupts&) = delete;
};

constexpr std::string_view kAnswerEnds("\0\n\r", 3);

// Discards the rest of a line that filled the buffer, up to its last character.
void discardLine(const PromptConsole& input, char last) {
  std::array<char, 256> rest;
  DWORD count = 0;
  while (input.read(rest.data(), static_cast<DWORD>(rest.size()), count) && count > 0 &&
         std::string_view(rest.data(), count).find(last) == std::string_view::npos) {
  }
  wipe(rest.data(), rest.size());
}

// last: the character that the Enter key puts at the end of a line.
const char* readAnswer(const PromptConsole& input, char* buffer, std::size_t capacity, char last) {
  DWORD count = 0;
  if (!input.read(buffer, static_cast<DWORD>(capacity), count)) {
    return "Could not read";
  }
  if (count == 0) {
    return "read returned 0";
  }
  if (count == capacity && buffer[count - 1] != last) {
    discardLine(input, last);
  }
  const std::string_view line(buffer, count);
  if (line.find('\x1a') != std::string_view::npos) {  // Ctrl+Z
    return "Interrupted";
  }
  const std::size_t end = line.find_first_of(kAnswerEnds);
  if (end < count) {
    buffer[end] = '\0';
    return nullptr;
  }
  if (count < capacity) {
    buffer[count] = '\0';
    return nullptr;
  }
  return "The answer is too long";
}

// Asks with the echo off, and puts the mode back.
const char* ask(const PromptConsole& input, const PromptConsole& output, DWORD mode, char* buffer,
                std::size_t capacity, const char* prompt) {
  const HeldInterrupts held;
  if (!input.setMode((mode & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT)) {
    return "SetConsoleMode failed";
  }
  const char* message = "Could not write";
  if (output.write(prompt)) {
    message = readAnswer(input, buffer, capacity, (mode & ENABLE_PROCESSED_INPUT) != 0 ? '\n' : '\r');
    if (!output.write("\n") && message == nullptr) {
      message = "Could not write";
    }
  }
  if (g_interrupted && message == nullptr) {
    message = "Interrupted";
  }
  // Input behind a refused answer is part of it: no shell may read it.
  if (message != nullptr) {
    input.discardInput();
  }
  return input.setMode(mode) ? message : "SetConsoleMode failed";
}

}  // namespace

const char* console_read_password(char* buffer, std::size_t capacity, const char* prompt) {
  const PromptConsole input("CONIN$", GENERIC_READ | GENERIC_WRITE);
  if (!input.isOpen()) {
    return "Could not open CONIN$";
  }
  const PromptConsole output("CONOUT$", GENERIC_WRITE);
  if (!output.isOpen()) {
    return "Could not open CONOUT$";
  }
  DWORD before = 0;
  if (!input.mode(before)) {
    return "GetConsoleMode failed";
  }
  const char* message = ask(input, output, before, buffer, capacity, prompt);
  if (message != nullptr) {
    wipe(buffer, capacity);
  }
  return message;
}

}  // namespace morvex
