// Any bytes through the reader, cut anywhere; and the messages in them written and read again.

#include "protocol/field.h"
#include "require.h"
#include "support/reading.h"

using namespace morvex;
using namespace protocol;

namespace {

// A peer may leave out fields at the end; a record whose union is empty cannot be written.
bool isWritable(const Record& message) {
  std::vector<const Record*> open{&message};
  while (!open.empty()) {
    const Record* record = open.back();
    open.pop_back();
    for (const Field& row : record->schema().fields) {
      const std::size_t count = row.ops->nest ? row.ops->nest->count(row.in(*record)) : 0;
      const bool isPlain = row.ops == &Wire<PlainValue>::kOps;
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

// What was read may differ from what is written of it: a real keeps seven digits, and a NaN, which equals
// nothing, reads back as 0. From then on nothing changes.
void checkWriting(const Record& message) {
  const std::string bytes = writtenHex(message);
  const bool hasNan = bytes.find("09 01 60") != std::string::npos;
  require(writtenHex(*message.clone()) == bytes, "a copy has the same bytes");
  require(hasNan || *message.clone() == message, "a copy is equal");
  const auto again = decoded(hasNan ? writtenHex(*decoded(bytes)) : bytes);
  require(hasNan || writtenHex(*again) == bytes, "the bytes are the same again");
  require(*decoded(writtenHex(*again)) == *again, "equal bytes make equal messages");
  const std::string legacyBytes = writtenHex(*again, true);
  const auto legacy = decoded(legacyBytes, true);
  require(*legacy == *again, "both tag sets carry the same message");
  require(writtenHex(*legacy, true) == legacyBytes, "the legacy bytes are the same again");
}

}  // namespace

// The input ends with the size of the reads and the choice of the tag set; all ahead of that is the stream.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t length) {
  FuzzedDataProvider input(data, length);
  std::vector<std::uint8_t> bytes;
  if (input.ConsumeBool()) {
    bytes = bytesOf("60 80 02 02 01 00 61 80 16 00 16 00 16 00 01 00 00 00 00 00");
  }
  const auto size = input.ConsumeIntegralInRange<std::size_t>(1, 32);
  const auto stream = input.ConsumeRemainingBytes<std::uint8_t>();
  bytes.insert(bytes.end(), stream.begin(), stream.end());
  std::vector<std::unique_ptr<Record>> messages;
  const auto outcome = [&](std::size_t piece) {
    Reading reading;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      const std::uint8_t* const start = bytes.data() + at;
      reading.script.incoming.emplace_back(start, start + std::min(piece, bytes.size() - at));
    }
    std::string text = outcomeOf([&] {
      while (!reading.script.incoming.empty()) {
        reading.reader.read();
      }
      return "";
    });
    for (const auto& message : messages = reading.finished()) {
      text += "|" + (isWritable(*message) ? writtenHex(*message) : "");
    }
    return text;
  };
  const std::string whole = outcome(65536);
  require(outcome(1) == whole && outcome(size) == whole, "cuts change nothing");
  for (const auto& message : messages) {
    if (isWritable(*message)) {
      checkWriting(*message);
    }
  }
  return 0;
}
