#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "protocol/basic_io.h"
#include "protocol/record.h"
#include "protocol/writer.h"
#include "sandbox/refusal.h"

namespace morvex::sandbox {

// Something on its way to a client. It is written in portions, as fast as the client takes them, so that a
// large answer neither takes memory nor keeps other clients waiting.
class Answer {
 public:
  virtual ~Answer() = default;

  // Writes the next portion, some tens of KiB as a rule. Returns whether that was the last.
  virtual bool writePortion(protocol::BasicIo& io, bool legacy) = 0;
};

// A message that is written whole.
class MessageAnswer final : public Answer {
 public:
  explicit MessageAnswer(std::unique_ptr<protocol::BerValue> message) : message_(std::move(message)) {}
  bool writePortion(protocol::BasicIo& io, bool legacy) override;

 private:
  std::unique_ptr<protocol::BerValue> message_;
};

// The refusal of a request.
std::unique_ptr<Answer> makeRefusal(std::int32_t requestId, const Refusal& refusal);

// Writes items that are not held in memory as one message.
class ItemWriter : public protocol::Writer {
 public:
  using Writer::Writer;

  void text(const std::string& value);
  void number(std::uint32_t value);

  // A Response around a payload with this tag, up to the payload's first field; and its end.
  void openResponse(std::int32_t requestId, const protocol::Tag& payload);
  void closeResponse();
};

}  // namespace morvex::sandbox
