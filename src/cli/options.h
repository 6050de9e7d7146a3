#pragma once

#include <string>
#include <string_view>

namespace morvex {

// The global options, which stand before the command word. Only parseGlobalOptions writes them, and login,
// which asks for a missing password and wipes the secrets once they have been used.
extern std::string g_server;
extern int g_port;  // 1 to 65535
extern std::string g_domain;
extern std::string g_login;
extern std::string g_password;
extern bool g_passwordGiven;      // -P was there, even with an empty value
extern std::string g_sessionKey;  // hexadecimal; when set, the session is reopened instead of logged in
extern std::string g_fileName;    // empty and "-" are the standard streams

// Reads the options and returns the index of the command word. Ends the run for -h and for a bad command
// line. The values of -P and -S are overwritten in the vector once they have been read, so that nobody finds
// them in a list of processes.
int parseGlobalOptions(int count, char** vector);

// The object that a command works on.
struct ObjectName {
  std::string text;   // a path, or an id
  bool byId = false;  // -i was given
};

// Walks an argument vector from left to right: options, then whatever a command takes behind them. An
// argument that does not fit is a usage error, which ends the run.
class Arguments {
 public:
  Arguments(int count, char** vector, int index) : count_(count), vector_(vector), index_(index) {}

  // Moves on to the next option, "-x" or "/x". False at the first argument that does not begin like one, and
  // at the end.
  bool nextOption();
  // The letter of the option that nextOption found.
  char letter() const { return option_[1]; }
  // Takes the argument behind that option, whatever it looks like.
  char* takeValue();
  // For an option with a letter that means nothing.
  [[noreturn]] void refuseOption() const;

  // The value of -i. A later one replaces it.
  void takeId(ObjectName& object);
  // The path behind the options, unless the object is named by an id.
  void takePath(ObjectName& object);
  // The same for a command that takes nothing else. Behind an id, whatever follows is ignored.
  void takeOnlyPath(ObjectName& object);

  bool atEnd() const { return index_ >= count_; }
  char* take() { return vector_[index_++]; }
  int index() const { return index_; }

  [[noreturn]] void refuse(std::string_view message) const;

 private:
  int count_;
  char** vector_;
  int index_;
  const char* option_ = nullptr;
};

}  // namespace morvex
