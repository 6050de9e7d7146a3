// Any text through the parser of TQL; what parses travels in both tag sets.

#include "protocol/ber_error.h"
#include "protocol/messages/handshake.h"
#include "query/tql/parser.h"
#include "wire.h"

using namespace morvex;

namespace {

// The pattern alone, behind what a legacy peer opens with.
struct Patterns final : protocol::BerProtocol {
  std::unique_ptr<protocol::BerValue> makeMessage(std::uint32_t tag, bool legacy) const override {
    return protocol::makeOneOf<protocol::ClientWants, protocol::PathPattern>(tag, legacy);
  }
};

std::string checkWriting(const protocol::BerValue& pattern, bool legacy) {
  require(*pattern.clone() == pattern, "a copy is equal");
  return outcomeOf<protocol::EBer>([&] {  // names and texts beyond their limits are refused here
    require(*readBack(Patterns(), written(pattern, legacy), legacy) == pattern, "a pattern travels whole");
    return "";
  });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string expression(reinterpret_cast<const char*>(data), size);
  outcomeOf([&] {
    const auto pattern = tql::parse(expression);
    return checkWriting(*pattern, false) + checkWriting(*pattern, true);
  });
  return 0;
}
