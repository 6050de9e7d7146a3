// Any text through the parser of TQL; what parses travels in both tag sets.

#include "query/tql/parser.h"
#include "require.h"
#include "support/reading.h"

using namespace morvex;

namespace {

std::string checkWriting(const protocol::Record& pattern, bool legacy) {
  require(*pattern.clone() == pattern, "a copy is equal");
  return outcomeOf<protocol::EBer>([&] {  // names and texts beyond their limits are refused here
    const Only<protocol::PathPattern> catalogue;
    require(*decoded(writtenHex(pattern, legacy), legacy, catalogue) == pattern, "a pattern travels whole");
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
