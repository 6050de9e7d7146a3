#include "protocol/ber_reader.h"

#include <algorithm>
#include <utility>

#include "foundation/errors.h"
#include "foundation/wipe.h"
#include "platform/heap.h"

namespace morvex::old_protocol {
namespace {

constexpr std::size_t kChunkSize = 0x10000;

// What only a peer of the legacy tag set opens with: a ClientWants of version 0x0100 that offers a private
// key.
constexpr std::array<std::uint8_t, 8> kLegacyHello{0x60, 0x80, 0x02, 0x02, 0x01, 0x00, 0x61, 0x80};

}  // namespace

BerReader::BerReader(const protocol::BerProtocol& catalogue, std::unique_ptr<BasicIo> stream)
    : stream_(std::move(stream)), decoder_(catalogue) {}

BerReader::~BerReader() { wipe(rest_.data(), rest_.size()); }  // session keys pass through

void BerReader::read() {
  static std::array<std::uint8_t, kChunkSize> chunk;  // for all readers; a stack may be smaller than that
  std::size_t count = 0;
  try {
    count = stream_->read(chunk.data(), chunk.size());
  } catch (const error::Exception&) {
    if (decoder_.finished().empty()) {
      throw;
    }
    return;  // what is complete comes first; a lasting fault will show again
  }
  const std::span<const std::uint8_t> fresh = std::span(chunk).first(count);
  feed(sniffing_ ? takeOpening(fresh) : fresh);
  if (count == kChunkSize) {  // there is more to come
    platform_populate_heap();
  }
}

// The first bytes decide on the tag set. They are parsed once the decision stands. Returns what follows them.
std::span<const std::uint8_t> BerReader::takeOpening(std::span<const std::uint8_t> chunk) {
  const std::size_t taken = std::min(chunk.size(), opening_.size() - openingCount_);
  std::copy_n(chunk.begin(), taken, opening_.begin() + static_cast<std::ptrdiff_t>(openingCount_));
  openingCount_ += taken;
  const std::span<const std::uint8_t> seen = std::span(opening_).first(openingCount_);
  const bool isHello = std::ranges::equal(seen, std::span(kLegacyHello).first(openingCount_));
  if (!isHello || openingCount_ == kLegacyHello.size()) {
    decoder_.setLegacy(isHello);
    sniffing_ = false;
    feed(seen);
  }
  return chunk.subspan(taken);
}

void BerReader::write(const protocol::Record& message) { message.write(*stream_, legacy()); }

void BerReader::send(const protocol::Record& message) {
  write(message);
  stream_->flush();
}

std::unique_ptr<protocol::Record> BerReader::nextMessage() {
  auto& finished = decoder_.finished();
  if (finished.empty()) {
    return nullptr;
  }
  std::unique_ptr<protocol::Record> oldest = std::move(finished.front());
  finished.pop_front();
  return oldest;
}

void BerReader::feed(std::span<const std::uint8_t> chunk) {
  while (restSize_ != 0 && !chunk.empty()) {  // first what an earlier chunk began
    const std::size_t added = std::min(chunk.size(), rest_.size() - restSize_);
    std::copy_n(chunk.begin(), added, rest_.begin() + static_cast<std::ptrdiff_t>(restSize_));
    const std::span<const std::uint8_t> window = std::span(rest_).first(restSize_ + added);
    const std::size_t taken = decoder_.decode(window);
    if (taken >= restSize_) {
      chunk = chunk.subspan(taken - restSize_);
      restSize_ = 0;
    } else {
      chunk = chunk.subspan(added);
      keep(window.subspan(taken));
    }
  }
  if (!chunk.empty()) {
    keep(chunk.subspan(decoder_.decode(chunk)));
  }
}

void BerReader::keep(std::span<const std::uint8_t> rest) {
  std::copy(rest.begin(), rest.end(), rest_.begin());
  restSize_ = rest.size();
}

}  // namespace morvex::old_protocol
