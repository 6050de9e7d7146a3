#include "protocol/decoder.h"

#include <algorithm>
#include <utility>

#include "foundation/assertion.h"
#include "protocol/ber_error.h"

namespace morvex::protocol {
namespace {

constexpr std::uint64_t kMostLengthOctets = 4;

// The fields, and behind them whatever a newer peer has added.
Step takeFields(Decoder& decoder, Frame& frame) {
  Record& record = *static_cast<Record*>(frame.value);
  const auto rows = record.schema().fields;
  Step step = Step::taken;
  while (step == Step::taken) {
    step = frame.index < rows.size() ? rows[frame.index].ops->take(rows[frame.index], record, decoder)
                                     : decoder.skip();
  }
  return step;
}

Step skipChildren(Decoder& decoder, Frame&) {
  Step step = Step::taken;
  while (step == Step::taken) {
    step = decoder.skip();
  }
  return step;
}

constexpr Children kRecord{takeFields,
                           [](const void* value) { return static_cast<const Record*>(value)->name(); }};
constexpr Children kSkipped{skipChildren, [](const void*) { return std::string("BerConstructedSkipper"); }};

}  // namespace

Decoder::~Decoder() { discard(message_.release()); }

std::size_t Decoder::decode(std::span<const std::uint8_t> window) {
  in_.at = window.data();
  end_ = in_.at + window.size();
  windowEnd_ += window.size();
  setLimit();
  Step step = piecesLeft_ == 0 ? Step::taken : takePieces();
  while (step != Step::wait) {
    step = stack_.empty() ? openMessage() : stack_.back().children->take(*this, stack_.back());
  }
  windowEnd_ = place();
  return static_cast<std::size_t>(in_.at - window.data());
}

Step Decoder::openMessage() {
  while (longTag_ == LongTag::none && in_.at != end_ && (*in_.at == 0 || *in_.at == kPadding)) {
    ++in_.at;
  }
  if (readHeader() == Step::wait) {
    return Step::wait;
  }
  try {
    message_ = catalogue_.makeMessage(tag_, legacy());
  } catch (EBer& refusal) {
    refusal.suffix += position();
    throw;
  }
  const std::uint32_t tag = message_->schema().tag.word(legacy());
  if (tag != tag_) {
    assertionFailed("Internal server error, tag mismatch " + std::to_string(tag) +
                    " != " + std::to_string(tag_) + " at top level");
  }
  return open(*message_);
}

// The header in any form, or what stands in its place: padding, an end-of-contents, the end of the value
// itself.
Step Decoder::longHeader() {
  if (longTag_ == LongTag::none) {
    const std::uint64_t end = stack_.back().end;
    while (in_.at != end_ && *in_.at == kPadding && place() != end) {
      ++in_.at;
    }
    setLimit();
    if (place() == end) {
      return close();
    }
    if (in_.at != end_ && *in_.at == 0) {
      if (end_ - in_.at < 2) {
        return Step::wait;
      }
      if (in_.at[1] != 0) {
        throw EBer("Length field nonzero after zero tag " + std::to_string(in_.at[1]));
      }
      in_.at += 2;
      return close();
    }
  }
  return readHeader();
}

Step Decoder::readHeader() {
  headerSize_ = 0;
  return readTag() && readLength() ? Step::taken : Step::wait;
}

// A long tag is taken out of the window piece by piece, since nothing bounds it. A number too large for the
// word loses its top bits, and then fits no value.
bool Decoder::readTag() {
  if (longTag_ == LongTag::none) {
    if (in_.at == end_) {
      return false;
    }
    tag_ = tagWord(*in_.at);
    if ((*in_.at & kLongTagBits) != kLongTagBits) {
      headerSize_ = 1;
      return true;
    }
    tag_ = *in_.at++ >> 5U;
    longTag_ = LongTag::open;
  }
  while (longTag_ == LongTag::open) {
    if (in_.at == end_) {
      return false;
    }
    const std::uint8_t octet = *in_.at++;
    tag_ = ((tag_ >> 3U) << 7U | (octet & 0x7FU)) << 3U | (tag_ & 7U);
    longTag_ = octet < 0x80 ? LongTag::complete : LongTag::open;
  }
  return true;
}

bool Decoder::readLength() {
  const std::uint8_t* at = in_.at + headerSize_;
  if (at == end_) {
    return false;
  }
  length_ = *at++;
  if (length_ == kIndefiniteOctet) {
    length_ = kIndefinite;
  } else if (length_ > kIndefiniteOctet) {
    const std::uint64_t octets = length_ & 0x7FU;
    if (octets > kMostLengthOctets) {
      throw EBer("Length field too long");
    }
    if (static_cast<std::uint64_t>(end_ - at) < octets) {
      return false;
    }
    length_ = 0;
    for (std::uint64_t i = 0; i < octets; ++i) {
      length_ = length_ << 8U | *at++;
    }
  }
  headerSize_ = static_cast<std::size_t>(at - in_.at);
  return true;
}

void Decoder::takeHeader() {
  in_.at += headerSize_;
  longTag_ = LongTag::none;
}

Step Decoder::open(Record& record) { return open(kRecord, &record, record.schema().required); }

Step Decoder::open(const Children& children, void* value, std::size_t required) {
  takeHeader();
  stack_.push_back({&children, value, required, length_ == kIndefinite ? kIndefinite : place() + length_});
  setLimit();
  return Step::opened;
}

Step Decoder::close() {
  const Frame& top = stack_.back();
  if (top.index < top.required) {
    throw EBer("Got to few fields of constructed value");
  }
  stack_.pop_back();
  if (stack_.empty()) {
    finished_.push_back(std::move(message_));
  } else {
    ++stack_.back().index;
  }
  setLimit();
  return Step::ended;
}

Step Decoder::skip() {
  const Step step = header();
  if (step != Step::taken) {
    return step;
  }
  return isConstructed(tag_) ? open(kSkipped, nullptr) : takeInPieces(nullptr, ~std::size_t{0});
}

Step Decoder::takeWholeContent(std::size_t limit, Content& content) {
  if (length_ == kIndefinite) {
    throw EBer("Indefinite length on tag " + std::to_string(tag_));
  }
  checkDataLength(length_, limit);
  const auto length = static_cast<std::size_t>(length_);
  if (static_cast<std::size_t>(end_ - in_.at) < headerSize_ + length) {
    return Step::wait;
  }
  takeHeader();
  content = {in_.at, length};
  in_.at += length;
  setLimit();
  return childTaken();
}

Step Decoder::takeInPieces(std::string* to, std::size_t limit) {
  if (length_ == kIndefinite) {
    throw EBer("Indefinite length on tag " + std::to_string(tag_));
  }
  checkStringLength(length_, limit);
  takeHeader();
  pieces_ = to;
  piecesLeft_ = length_;
  return takePieces();
}

// Room is made for what has come, never for what was only announced.
Step Decoder::takePieces() {
  const auto here = static_cast<std::uint64_t>(end_ - in_.at);
  const auto count = static_cast<std::size_t>(std::min(piecesLeft_, here));
  if (pieces_ != nullptr) {
    pieces_->append(reinterpret_cast<const char*>(in_.at), count);
  }
  in_.at += count;
  piecesLeft_ -= count;
  if (piecesLeft_ != 0) {
    return Step::wait;
  }
  setLimit();
  return childTaken();
}

// Behind the declared end of the value on top, which a child can overrun, nothing is taken the short way.
void Decoder::setLimit() {
  in_.limit = end_;
  if (!stack_.empty() && stack_.back().end < windowEnd_) {
    const std::uint64_t end = stack_.back().end, here = place();
    in_.limit = end < here ? in_.at : in_.at + (end - here);
  }
  if (longTag_ != LongTag::none) {
    in_.limit = in_.at;
  }
}

void Decoder::refuse(std::string text) const {
  EBer refusal(std::move(text));
  refusal.suffix = position();
  throw refusal;
}

void Decoder::expectTag(const Tag& wanted) const {
  if (tag_ != wanted.word(legacy())) [[unlikely]] {
    refuse("Tag mismatch, got " + std::to_string(tag_) + " expected " + wanted.nameIn(legacy()));
  }
}

void Decoder::refuseAlternative(const Record& owner, const Field& row) const {
  refuse("Unexpected tag " + std::to_string(tag_) + " received in Union " + owner.name() + ".this->" +
         std::string(row.name));
}

std::string Decoder::position() const {
  std::string text = ", BerReader: ";
  for (const Frame& frame : stack_) {
    text += frame.children->name(frame.value) + ":" + std::to_string(frame.index + 1) +
            (&frame == &stack_.back() ? "" : ", ");
  }
  return text;
}

}  // namespace morvex::protocol
