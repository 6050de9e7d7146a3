// Any bytes through the reader, cut anywhere; and back, of what it understood.

#include "protocol/field.h"
#include "wire.h"

using namespace morvex;

namespace {

using protocol::PlainValue;

const protocol::BerProtocol& catalogue() { return protocol::guiProtocol::instance(); }

// A peer may leave out fields at the end; a record whose union is empty cannot be written.
bool isWritable(const protocol::Record& message) {
  std::vector<const protocol::Record*> open{&message};
  while (!open.empty()) {
    const protocol::Record* record = open.back();
    open.pop_back();
    for (const protocol::Field& row : record->schema().fields) {
      const std::size_t count = row.ops->nest ? row.ops->nest->count(row.in(*record)) : 0;
      const bool isPlain = row.ops == &protocol::Wire<PlainValue>::kOps;
      if ((row.ops->nest && !row.ops->nest->listTag && count == 0) ||
          (isPlain && static_cast<const PlainValue*>(row.in(*record))->index() == 0)) {
        return false;
      }
      for (std::size_t i = 0; i < count; ++i) {
        open.push_back(row.ops->nest->at(row.in(*record), i));
      }
    }
  }
  return true;
}

bool hasNan(const std::string& bytes) { return bytes.find("\x09\x01\x60") != std::string::npos; }

void checkComparison(const protocol::Record& message) {
  const auto copy = message.clone();
  const std::string bytes = written(message, false);
  require(written(*copy, false) == bytes, "a copy has the same bytes");
  require(hasNan(bytes) || *copy == message, "a copy is equal");
  require((*copy < message) == (message > *copy), "less is greater from the other side");
}

// What was read may differ from what is written of it: a real keeps seven digits, and a NaN, which equals
// nothing, reads back as 0. From then on nothing changes.
void checkWriting(const protocol::Record& message) {
  std::string bytes = written(message, false);
  if (hasNan(bytes)) {
    bytes = written(*readBack(catalogue(), bytes, false), false);
  }
  const auto again = readBack(catalogue(), bytes, false);
  require(written(*again, false) == bytes, "the bytes are the same again");
  require(*readBack(catalogue(), bytes, false) == *again, "equal bytes make equal messages");
  const std::string legacyBytes = written(*again, true);
  const auto legacy = readBack(catalogue(), legacyBytes, true);
  require(*legacy == *again, "both tag sets carry the same message");
  require(written(*legacy, true) == legacyBytes, "the legacy bytes are the same again");
}

}  // namespace

// The input ends with the sizes of the reads and the choice of the tag set; all ahead of that is the stream.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::string start = input.ConsumeBool() ? kLegacyStart : "";
  std::vector<std::size_t> pieces(input.ConsumeIntegralInRange<std::size_t>(1, 4));
  for (std::size_t& piece : pieces) {
    piece = input.ConsumeIntegralInRange<std::size_t>(1, 32);
  }
  const std::string bytes = start + input.ConsumeRemainingBytesAsString();
  std::deque<std::unique_ptr<protocol::Record>> messages;
  const auto outcome = [&](std::vector<std::size_t> sizes) {
    Reading reading(catalogue(), std::make_unique<PiecewiseIo>(bytes, std::move(sizes)));
    std::string text = reading.refusal;
    for (const auto& message : messages = std::move(reading.messages)) {
      text += "|" + (isWritable(*message) ? written(*message, false) : "");
    }
    return text;
  };
  const std::string whole = outcome({65536});
  require(outcome({1}) == whole && outcome(std::move(pieces)) == whole, "cuts change nothing");
  for (const auto& message : messages) {
    if (isWritable(*message)) {
      checkComparison(*message);
      checkWriting(*message);
    }
  }
  return 0;
}
