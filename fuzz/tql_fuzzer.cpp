// Any text through the parser of TQL; what parses travels in both tag sets.

#include "commands/object_path.h"
#include "protocol/messages/handshake.h"
#include "query/tql/lexer.h"
#include "query/tql/parser.h"
#include "wire.h"

namespace {

using protocol::BerValue;

// The pattern alone, behind what a legacy peer opens with.
struct Patterns final : protocol::BerProtocol {
  std::unique_ptr<BerValue> makeMessage(std::uint32_t tag, bool legacy) const override {
    auto made = protocol::OneOf<protocol::ClientWants, protocol::PathPattern>::make(tag, legacy);
    require(made != nullptr, "a written pattern has its tag");
    return made;
  }
};

void checkWriting(const BerValue& pattern) {
  require(*pattern.clone() == pattern, "a copy is equal");
  for (const bool legacy : {false, true}) {
    outcomeOf<protocol::EBer>([&] {  // names and texts beyond their limits are refused here
      require(*readBack(Patterns(), written(pattern, legacy), legacy) == pattern, "a pattern travels whole");
      return "";
    });
  }
}

// The same tokens with a blank between any two. A string literal gets its escapes back.
std::string spaced(const std::string& expression) {
  std::string text;
  tql::Lexer lexer(expression);
  while (!lexer.next().empty()) {
    const std::string& token = lexer.token;
    const std::size_t end = token.rfind('"');
    text += token.front() == '"' ? quoteTqlString(token.substr(1, end - 1)) + token.substr(end + 1) : token;
    text += ' ';
  }
  return text;
}

// The wire form of the pattern, or the refusal without the expression itself.
std::string meaning(const std::string& expression) {
  try {
    return written(*tql::parse(expression), false);
  } catch (const error::Exception& fault) {
    return fault.description();
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string expression(reinterpret_cast<const char*>(data), size);
  outcomeOf([&] {
    checkWriting(*tql::parse(expression));
    return "";
  });
  outcomeOf([&] {  // not for a string without its end
    require(meaning(spaced(expression)) == meaning(expression), "blanks between tokens change nothing");
    return "";
  });
  return 0;
}
