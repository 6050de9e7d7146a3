#include "sandbox/answer.h"

#include <cstddef>

#include "protocol/messages/envelope.h"

namespace morvex::sandbox {
namespace {

// What one text of an ErrorResp holds.
constexpr std::size_t kMaxText = 1024;

}  // namespace

bool MessageAnswer::writePortion(protocol::BasicIo& io, bool legacy) {
  message_->write(io, legacy);
  return true;
}

std::unique_ptr<Answer> makeRefusal(std::int32_t requestId, const Refusal& refusal) {
  auto response = std::make_unique<protocol::Response>();
  response->requestId = requestId;
  auto& error = response->resp.emplace<protocol::ErrorResp>();
  error.code = static_cast<std::int32_t>(refusal.code);
  for (const std::string& text : refusal.texts) {
    error.args.push_back(text.substr(0, kMaxText));
  }
  return std::make_unique<MessageAnswer>(std::move(response));
}

void ItemWriter::text(const std::string& value) {
  primitive(protocol::BE_STRING, {reinterpret_cast<const std::uint8_t*>(value.data()), value.size()});
}

void ItemWriter::number(std::uint32_t value) { unsignedInteger(value); }

void ItemWriter::openResponse(std::int32_t requestId, const protocol::Tag& payload) {
  open(protocol::Response::kSchema.tag);
  number(static_cast<std::uint32_t>(requestId));
  open(payload);
}

void ItemWriter::closeResponse() {
  close();
  close();
}

}  // namespace morvex::sandbox
