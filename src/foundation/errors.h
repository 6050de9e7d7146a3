#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace morvex {

// The codes with which the server refuses a request; errorText words them.
enum class ErrorCode : std::uint32_t {
  none = 0,
  unknownId = 1,
  nothingMatched = 2,
  conflict = 3,
  duplicate = 4,
  illegalChild = 5,
  missingProperty = 6,
  unknownProperty = 7,
  constProperty = 8,
  illegalType = 9,
  illegalValue = 10,
  incomparable = 11,
  notImplemented = 12,
  backendError = 14,
  accessDenied = 15,
};

// The failures of the whole program. All of them derive from error::Exception, which on purpose is no
// std::exception: what the standard library throws is reported as an unknown exception.
// They are thrown by value, caught by reference, and reported by main alone. protocol::EBer derives from
// error::EParseError.
namespace error {

class Exception {
 public:
  Exception() = default;
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception() = default;

  virtual std::string description() const = 0;

  // What the user reads: the description and whatever was appended on the way out.
  std::string text() const { return description() + suffix; }

  // Where the fault lies. Written by those who know the place: the message reader and the TQL parser.
  std::string suffix;
};

// An exception that is described by one message.
class MessageException : public Exception {
 public:
  explicit MessageException(std::string text) : message(std::move(text)) {}
  std::string description() const override { return message; }

  std::string message;
};

// A step of a command that cannot go on.
class EFatal : public MessageException {
  using MessageException::MessageException;
};

// Text that cannot be converted.
class EParseError : public MessageException {
  using MessageException::MessageException;
};

// A failure of the operating system.
class ESystemError : public MessageException {
  using MessageException::MessageException;
};

// A BigNum that does not fit the wanted integer.
class ERange : public MessageException {
  using MessageException::MessageException;
};

}  // namespace error

namespace errors {

// A well-formed message of the wrong type where a reply was expected.
class bererror : public error::MessageException {
  using MessageException::MessageException;
};

// A failed handshake.
class connect_error : public error::MessageException {
  using MessageException::MessageException;
};

// A property that an object of an answer lacks.
class objecterror : public error::MessageException {
  using MessageException::MessageException;
};

// A result that was asked for before its answer.
class selecterror : public error::MessageException {
  using MessageException::MessageException;
};

// A property whose value is not of the wanted type. Without a message, the code describes it.
class tql : public error::Exception {
 public:
  tql(std::string text, ErrorCode errorCode) : message(std::move(text)), code(errorCode) {}
  std::string description() const override;

  std::string message;
  ErrorCode code;
};

// Two property values that cannot be compared.
class tql_incomparable : public tql {
 public:
  explicit tql_incomparable(std::string text) : tql(std::move(text), ErrorCode::incomparable) {}
};

}  // namespace errors

// Throws error::ESystemError.
[[noreturn]] void throwSystemError(std::string message);

// The text of an ErrorCode; "Unknown error" for a number that is none.
const char* errorText(std::uint32_t code);
std::string errorString(std::uint32_t code);

}  // namespace morvex
