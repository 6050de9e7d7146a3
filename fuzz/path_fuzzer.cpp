// Names of any characters in object paths and in TQL.

#include "query/object_path.h"
#include "query/tql/lexer.h"
#include "query/tql/parser.h"
#include "require.h"

using namespace morvex;

namespace {

using Names = std::list<std::string>;

Names split(const std::string& text, char delimiter) {
  Names names;
  splitEscaped(names, text, delimiter);
  return names;
}

void checkNames(const Names& names, char delimiter) {
  const std::vector<std::string> elements(names.begin(), names.end());
  require(split(joinEscaped(elements, delimiter), delimiter) == names, "splitting undoes joining");
}

void checkLiteral(const std::string& text) {
  tql::Lexer lexer(quoteTqlString(text));
  require(lexer.next() == '"' + text + '"' && lexer.next().empty(), "a quoted text is one token");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const char delimiter = input.PickValueInArray({'.', ',', '^', '"', '\0', '\n', 'a', '\xe9'});
  const std::string text = input.ConsumeRemainingBytesAsString();
  checkNames(split(delimiter + text, delimiter), delimiter);
  checkNames(text.empty() ? Names() : split('|' + text, '|'), delimiter);
  checkLiteral(text);
  outcomeOf<error::EFatal>([&] { return tql::parse(pathExpression(text, false, "")), ""; });
  return 0;
}
