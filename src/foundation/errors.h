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

// The failures of the whole program. All derive from error::Exception, which is no std::exception on purpose:
// main reports exceptions of the standard library as unknown. They are thrown by value, caught by reference,
// and reported by main alone. protocol::EBer derives from error::EParseError.
namespace error {

class Exception {
 public:
  Exception() = default;
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  virtual ~Exception() = default;

  virtual std::string description() const = 0;

  // The text for the user: the description and the suffix.
  std::string text() const { return description() + suffix; }

  // The place of the fault, appended where it is known: by the message reader and the TQL parser.
  std::string suffix;
};

// An exception with one message.
class MessageException : public Exception {
 public:
  explicit MessageException(std::string text) : message(std::move(text)) {}
  std::string description() const override { return message; }

  std::string message;
};

// A command cannot go on.
class EFatal : public MessageException {
  using MessageException::MessageException;
};

// A text cannot be converted.
class EParseError : public MessageException {
  using MessageException::MessageException;
};

// A failure of the operating system.
class ESystemError : public MessageException {
  using MessageException::MessageException;
};

// A BigNum does not fit the wanted integer.
class ERange : public MessageException {
  using MessageException::MessageException;
};

}  // namespace error

namespace errors {

// A well-formed message has the wrong type for a reply.
class bererror : public error::MessageException {
  using MessageException::MessageException;
};

// A failed handshake.
class connect_error : public error::MessageException {
  using MessageException::MessageException;
};

// An object of an answer lacks a property.
class objecterror : public error::MessageException {
  using MessageException::MessageException;
};

// A result is read before its answer has come.
class selecterror : public error::MessageException {
  using MessageException::MessageException;
};

// A property's value has another type than the wanted one. Without a message, the code describes it.
class tql : public error::Exception {
 public:
  tql(std::string text, ErrorCode errorCode) : message(std::move(text)), code(errorCode) {}
  std::string description() const override;

  std::string message;
  ErrorCode code;
};

// Two property values cannot be compared.
class tql_incomparable : public tql {
 public:
  explicit tql_incomparable(std::string text) : tql(std::move(text), ErrorCode::incomparable) {}
};

}  // namespace errors

// Throws error::ESystemError.
[[noreturn]] void throwSystemError(std::string message);

// The text of one of the server's error codes, 0 to 15; "Unknown error" for a code that has none.
const char* errorText(std::uint32_t code);
std::string errorString(std::uint32_t code);

}  // namespace morvex
