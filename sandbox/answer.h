#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "foundation/errors.h"
#include "protocol/basic_io.h"
#include "protocol/messages/envelope.h"
#include "protocol/record.h"
#include "protocol/writer.h"
#include "sandbox/turn.h"

namespace morvex::sandbox {

// A request that cannot be served, thrown wherever that turns out. The texts, if any, go to the client with
// the code.
struct Refusal {
  explicit Refusal(ErrorCode reason) : code(reason) {}
  Refusal(ErrorCode reason, std::string text) : code(reason), texts{std::move(text)} {}
  Refusal(ErrorCode reason, std::vector<std::string> several) : code(reason), texts(std::move(several)) {}

  ErrorCode code;
  std::vector<std::string> texts;
};

// Something on its way to a client. It is written in portions, as fast as the client takes them, so a large
// answer neither fills the memory nor keeps other clients waiting.
class Answer {
 public:
  virtual ~Answer() = default;

  // Goes on with the work ahead of the first portion, by one step at least, and is called until it returns
  // true: all is done. Otherwise the turn is over. Throws Refusal if it turns out that the request cannot be
  // served.
  virtual bool prepare(Turn& turn, bool legacy);

  // The bytes of memory that the answer holds once it is prepared, apart from a few hundred.
  virtual std::size_t size() const { return 0; }

  // Writes the next portion, usually some tens of KiB. Returns whether it was the last.
  virtual bool writePortion(protocol::BasicIo& io, bool legacy) = 0;
};

using Bytes = std::vector<std::uint8_t>;

// Collects the bytes written, and passes them on if there is a stream behind it.
class Collector final : public protocol::BasicIo {
 public:
  explicit Collector(Bytes& bytes, protocol::BasicIo* behind = nullptr) : bytes_(bytes), behind_(behind) {}

  void write(const std::uint8_t* bytes, std::size_t count) override;
  void flush() override {}

 private:
  Bytes& bytes_;
  protocol::BasicIo* behind_;
};

// A message that is written whole. It waits as the bytes that it takes on the wire.
class MessageAnswer final : public Answer {
 public:
  explicit MessageAnswer(std::unique_ptr<protocol::Record> message) : message_(std::move(message)) {}
  bool prepare(Turn&, bool legacy) override;
  std::size_t size() const override { return bytes_.capacity(); }
  bool writePortion(protocol::BasicIo& io, bool legacy) override;

 private:
  std::unique_ptr<protocol::Record> message_;
  Bytes bytes_;
};

// A response with this payload, written whole.
template <class Payload>
std::unique_ptr<Answer> makeAnswer(std::int32_t requestId, Payload payload) {
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  response->resp.emplace<Payload>() = std::move(payload);
  return std::make_unique<MessageAnswer>(std::move(response));
}
std::unique_ptr<Answer> makeRefusal(std::int32_t requestId, const Refusal& refusal);

// Writes items that are not held in memory as one message.
class ItemWriter : public protocol::Writer {
 public:
  using Writer::Writer;

  void text(const std::string& value);

  // A Response up to its payload.
  void openResponse(std::int32_t requestId);
};

// A response with a tree of objects, each written when its turn comes, parents ahead of their children.
class ObjectsAnswer : public Answer {
 public:
  bool writePortion(protocol::BasicIo& io, bool legacy) final;

 protected:
  explicit ObjectsAnswer(std::int32_t requestId) : requestId_(requestId) {}

  // Sets the numbers of the objects to be written: from first up to behindLast. There is at least one.
  void setRange(std::size_t first, std::size_t behindLast);

  // Opens the payload, up to the list of objects.
  virtual void open(ItemWriter& to) const = 0;
  // Writes an object: begin, its properties, endProperties.
  virtual void writeObject(ItemWriter& to, std::size_t number) = 0;

  // Closes the objects that are not above this one, and opens it, up to its first property. depth is 0 for an
  // object at the top.
  void begin(ItemWriter& to, std::uint32_t depth, const std::string& className, std::uint32_t number,
             const std::string& id, const std::string& version);
  void endProperties(ItemWriter& to);

 private:
  void closeDownTo(ItemWriter& to, std::uint32_t depth);

  std::int32_t requestId_;
  std::size_t next_ = 0, behindLast_ = 0;
  bool opened_ = false;
  std::uint32_t open_ = 0;  // objects that are open, one in the other
};

}  // namespace morvex::sandbox
