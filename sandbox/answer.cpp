#include "sandbox/answer.h"

namespace morvex::sandbox {
namespace {

// Bytes that one text of an ErrorResp holds.
constexpr std::size_t kMaxText = 1024;

constexpr std::size_t kObjectsPerPortion = 256;

}  // namespace

bool Answer::prepare(Turn&, bool) { return true; }

void Collector::write(const std::uint8_t* bytes, std::size_t count) {
  bytes_.insert(bytes_.end(), bytes, bytes + count);
  if (behind_ != nullptr) {
    behind_->write(bytes, count);
  }
}

bool MessageAnswer::prepare(Turn&, bool legacy) {
  Collector collector(bytes_);
  message_->write(collector, legacy);
  message_.reset();
  return true;
}

bool MessageAnswer::writePortion(protocol::BasicIo& io, bool) {
  io.write(bytes_.data(), bytes_.size());
  return true;
}

std::unique_ptr<Answer> makeRefusal(std::int32_t requestId, const Refusal& refusal) {
  protocol::ErrorResp error;
  error.code = static_cast<std::int32_t>(refusal.code);
  for (const std::string& text : refusal.texts) {
    error.args.push_back(text.substr(0, kMaxText));
  }
  return makeAnswer(requestId, std::move(error));
}

void ItemWriter::text(const std::string& value) {
  primitive(protocol::BE_STRING, {reinterpret_cast<const std::uint8_t*>(value.data()), value.size()});
}

void ItemWriter::openResponse(std::int32_t requestId) {
  open(protocol::Response::kSchema.tag);
  unsignedInteger(static_cast<std::uint32_t>(requestId));
}

void ObjectsAnswer::setRange(std::size_t first, std::size_t behindLast) {
  next_ = first;
  behindLast_ = behindLast;
}

bool ObjectsAnswer::writePortion(protocol::BasicIo& io, bool legacy) {
  ItemWriter to(io, legacy);
  if (!opened_) {
    to.openResponse(requestId_);
    open(to);
    to.open(protocol::BE_SEQ);
    opened_ = true;
  }
  for (std::size_t count = 0; count < kObjectsPerPortion && next_ < behindLast_; ++count) {
    writeObject(to, next_++);
  }
  const bool last = next_ == behindLast_;
  if (last) {
    closeDownTo(to, 0);
    to.close();  // the list of objects
    to.close();  // the payload
    to.close();
  }
  to.flush();
  return last;
}

void ObjectsAnswer::begin(ItemWriter& to, std::uint32_t depth, const std::string& className,
                          std::uint32_t number, const std::string& id, const std::string& version) {
  closeDownTo(to, depth);
  to.open(protocol::Object::kSchema.tag);
  to.text(className);
  to.unsignedInteger(number);
  to.text(id);
  to.text(version);
  to.open(protocol::BE_SEQ);
}

void ObjectsAnswer::endProperties(ItemWriter& to) {
  to.close();
  to.open(protocol::BE_SEQ);
  ++open_;
}

void ObjectsAnswer::closeDownTo(ItemWriter& to, std::uint32_t depth) {
  for (; open_ > depth; --open_) {
    to.close();  // its children
    to.open(protocol::BE_SET);
    to.close();
    to.close();
  }
}

}  // namespace morvex::sandbox
