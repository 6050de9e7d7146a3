// Any bytes through the reader, cut anywhere; and back, of what it understood.

#include "wire.h"

namespace {

using protocol::BerValue;

const protocol::BerProtocol& catalogue() { return protocol::guiProtocol::instance(); }

std::string textOf(const Reading& reading) {
  std::string text;
  for (const auto& message : reading.messages) {
    text += written(*message, false) + "|";
  }
  return text + reading.refusal;
}

// A message and another of the same class, the same in all but a NaN, which equals nothing.
void checkComparison(const BerValue& message) {
  const std::unique_ptr<BerValue> copy = message.clone();
  require(written(*copy, false) == written(message, false), "a copy has the same bytes");
  require((*copy == message) == (message == message), "a copy is equal");
  require((*copy < message) == (message > *copy), "less is greater from the other side");
}

// Writing is stable from the first time on. What was read may differ from what is written of it: a real keeps
// seven digits, and a NaN, which is 09 01 60, reads back as 0.
void checkWriting(const BerValue& message) {
  std::string bytes = written(message, false);
  if (bytes.find("\x09\x01\x60") != std::string::npos) {
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
  const bool legacy = input.ConsumeBool();
  std::vector<std::size_t> pieces(input.ConsumeIntegralInRange<std::size_t>(1, 4));
  for (std::size_t& piece : pieces) {
    piece = input.ConsumeIntegralInRange<std::size_t>(1, 32);
  }
  const std::string bytes = (legacy ? std::string(kLegacyStart) : "") + input.ConsumeRemainingBytesAsString();
  const Reading reading = readAll(catalogue(), bytes);
  const std::string whole = textOf(reading);
  require(textOf(readAll(catalogue(), bytes, pieces)) == whole, "cuts change nothing");
  require(textOf(readAll(catalogue(), bytes, {1})) == whole, "single bytes change nothing");
  for (const auto& message : reading.messages) {
    checkComparison(*message);
    checkWriting(*message);
  }
  return 0;
}
