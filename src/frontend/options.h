#pragma once

#include <string>

// The global options, which stand before the command word. Only parseGlobalOptions writes them, and login
// writes the password.
extern std::string g_server;
extern int g_port;
extern std::string g_domain;
extern std::string g_login;
extern std::string g_password;
extern bool g_passwordGiven;      // -P was there, even with an empty value
extern std::string g_sessionKey;  // hexadecimal; when set, the session is reopened instead of logged in
extern std::string g_fileName;    // empty and "-" are the standard streams

// Reads the options and returns the index of the command word. Ends the run for -h and for a bad command
// line. The value of -P is overwritten in the vector once it has been read.
int parseGlobalOptions(int count, char** vector);

// True for an argument that is read as an option: "-x" and "/x" alike, and faulty ones that begin so.
bool looksLikeOption(const char* argument);

// The value behind the option at index, which moves on to it. A missing one is a usage error.
const char* takeOptionValue(int count, char** vector, int& index);
