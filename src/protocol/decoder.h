#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>

#include "protocol/catalogue.h"
#include "protocol/leaf.h"
#include "protocol/record.h"
#include "protocol/tag.h"

namespace morvex::protocol {

// What became of the next child of a value.
enum class Step {
  taken,   // it is complete
  opened,  // it has children of its own, or content still to come, which are next
  wait,    // it is not whole yet
  ended,   // there is none: the value has ended
};

// A place in the input, and where the bytes that may be taken there end.
struct Cursor {
  const std::uint8_t* at;
  const std::uint8_t* limit;
  bool legacy;

  std::size_t room() const { return static_cast<std::size_t>(limit - at); }
};

// Takes a primitive that is short and lies whole at the cursor, as nearly all do, into the member that make()
// gives. False for any other: nothing is taken.
template <Primitive T, class Make>
[[gnu::always_inline]] inline bool takeShort(const Bounds& bounds, Cursor& in, Make make) {
  constexpr std::size_t kHeader = 2;
  if (in.room() < kHeader || in.at[0] != identifierOctet(Leaf<T>::kTag.word(in.legacy)) || in.at[1] >= 0x80) {
    return false;
  }
  const std::size_t length = in.at[1];
  if (length > in.room() - kHeader || length > Leaf<T>::longest(bounds)) {
    return false;
  }
  Leaf<T>::decode({in.at + kHeader, length}, bounds, make());
  in.at += kHeader + length;
  return true;
}

struct Frame;

// How the children of a value are taken: one constant for records, one for each list class, one for skipped
// values.
struct Children {
  Step (*take)(Decoder& decoder, Frame& frame);  // as many as there are; never returns taken
  std::string (*name)(const void* value);        // the class name for messages
};

// A value whose children are being taken.
struct Frame {
  const Children* children;
  void* value;              // the record or container; null for a skipped one
  std::size_t required;     // how many leading children must arrive
  std::uint64_t end;        // its place in the stream, or kIndefinite
  std::uint32_t index = 0;  // of the next child
};

// Turns bytes into messages. It works on a window of the stream, and stops ahead of an item that is not whole
// in it. Strings and skipped content alone go in pieces, so that no memory is taken for bytes that were only
// announced. Throws EBer; a decoder that has thrown is spent.
class Decoder {
 public:
  // The longest rest of a window that can stay behind: a tag, a length, and the longest content that goes in
  // one piece.
  static constexpr std::size_t kLongestRest = 1 + 5 + kLongestBigNum;

  // The catalogue must outlive the decoder.
  explicit Decoder(const BerProtocol& catalogue) : catalogue_(catalogue) {}
  ~Decoder();
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  // Takes what is whole and returns how many bytes. The rest has to come again, with more behind it.
  std::size_t decode(std::span<const std::uint8_t> window);

  // The messages that are complete, oldest first.
  std::deque<std::unique_ptr<Record>>& finished() { return finished_; }

  bool legacy() const { return in_.legacy; }
  void setLegacy(bool legacy) { in_.legacy = legacy; }

  // ---- For the rows of tables, while their record is on top of the stack ----

  // A primitive into the member that make() gives; called once, and only if there is one.
  template <Primitive T, class Make>
  Step take(const Bounds& bounds, Make make) {
    if (takeShort<T>(bounds, in_, make)) {
      return childTaken();
    }
    const Step step = header();
    return step == Step::taken ? takeContent<T>(bounds, make) : step;
  }

  // The header of the next child. If it is taken, tag() and one of those below go on with it.
  Step header() {
    if (in_.room() >= 2) {
      const std::uint8_t octet = in_.at[0], length = in_.at[1];
      if (octet == 0 && length == 0) {
        in_.at += 2;
        return close();
      }
      if (isShortTag(octet) && length <= kIndefiniteOctet) {
        tag_ = tagWord(octet);
        length_ = length == kIndefiniteOctet ? kIndefinite : length;
        headerSize_ = 2;
        return Step::taken;
      }
    }
    return longHeader();
  }
  std::uint32_t tag() const { return tag_; }
  void expectTag(const Tag& wanted) const;
  [[noreturn]] void refuseAlternative(const Record& owner, const Field& row) const;

  // Behind a header: the content of a primitive, the children of a record or list, or whatever it is that
  // nobody knows.
  template <Primitive T, class Make>
  Step takeContent(const Bounds& bounds, Make make);
  Step open(Record& record);
  Step open(const Children& children, void* value, std::size_t required = 0);
  Step skip();

  // For items that lie whole: where the next child begins, and where it has been taken to.
  const Cursor& cursor() const { return in_; }
  Step takeTo(const Cursor& end) {
    in_.at = end.at;
    return childTaken();
  }

 private:
  enum class LongTag { none, open, complete };

  static constexpr std::uint64_t kIndefinite = ~std::uint64_t{0};
  static constexpr std::uint8_t kIndefiniteOctet = 0x80;
  static constexpr std::uint8_t kPadding = 0x19;
  static constexpr std::uint32_t kLongTagBits = 0x1F;

  static constexpr std::uint32_t tagWord(std::uint32_t octet) {
    return (octet & kLongTagBits) << 3U | octet >> 5U;
  }
  static constexpr bool isShortTag(std::uint8_t octet) {
    return octet != 0 && octet != kPadding && (octet & kLongTagBits) != kLongTagBits;
  }

  Step childTaken() {
    ++stack_.back().index;
    return Step::taken;
  }
  Step openMessage();
  Step longHeader();
  Step readHeader();
  bool readTag();
  bool readLength();
  void takeHeader();
  Step close();
  Step takeWholeContent(std::size_t limit, Content& content);
  Step takeInPieces(std::string* to, std::size_t limit);
  Step takePieces();
  void setLimit();
  std::uint64_t place() const { return windowEnd_ - static_cast<std::uint64_t>(end_ - in_.at); }
  [[noreturn]] void refuse(std::string text) const;
  std::string position() const;

  const BerProtocol& catalogue_;
  std::deque<std::unique_ptr<Record>> finished_;
  std::unique_ptr<Record> message_;  // in progress
  std::deque<Frame> stack_;          // from message_ inwards; a vector would copy deep ones

  Cursor in_{};                        // ends where the window or the value on top does
  const std::uint8_t* end_ = nullptr;  // of the window
  std::uint64_t windowEnd_ = 0;        // its place in the stream

  // The header that was read last.
  LongTag longTag_ = LongTag::none;  // its bytes are gone from the window
  std::uint32_t tag_ = 0;
  std::uint64_t length_ = 0;
  std::size_t headerSize_ = 0;  // of what is still in the window

  std::string* pieces_ = nullptr;  // null for skipped content
  std::uint64_t piecesLeft_ = 0;
};

template <Primitive T, class Make>
Step Decoder::takeContent(const Bounds& bounds, Make make) {
  expectTag(Leaf<T>::kTag);
  if constexpr (std::is_same_v<T, std::string>) {
    return takeInPieces(&make(), Leaf<T>::longest(bounds));
  } else {
    Content content;
    const Step step = takeWholeContent(Leaf<T>::longest(bounds), content);
    if (step == Step::taken) {
      Leaf<T>::decode(content, bounds, make());
    }
    return step;
  }
}

}  // namespace morvex::protocol
