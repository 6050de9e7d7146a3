// Names of any characters in object paths and in TQL.

#include "commands/object_path.h"
#include "query/tql/lexer.h"
#include "query/tql/parser.h"
#include "require.h"

namespace {

using Names = std::list<std::string>;

Names split(const std::string& text, char delimiter) {
  Names names;
  splitEscaped(names, text, delimiter);
  return names;
}

std::string join(const Names& names, char delimiter) { return joinEscaped(names, delimiter); }

void checkNames(const Names& names, char delimiter) {
  require(split(join(names, delimiter), delimiter) == names, "splitting undoes joining");
  if (names.size() < 2) {
    return;
  }
  const std::string path = join({join(names, '.').substr(1), names.front(), join(names, '^').substr(1)}, ',');
  const Names parts = split(path, ',');
  require(parts.size() == 3 && *std::next(parts.begin()) == names.front(), "a path has three parts");
  require(split('.' + parts.front(), '.') == names, "the names of domains come through");
  require(split('^' + parts.back(), '^') == names, "the names of checks come through");
}

void checkText(const std::string& text, char delimiter) {
  const Names names = split(delimiter + text, delimiter);
  require(split(join(names, delimiter), delimiter) == names, "joining undoes splitting");
  tql::Lexer lexer(quoteTqlString(text));
  require(lexer.next() == '"' + text + '"' && lexer.next().empty(), "a quoted text is one token");
}

// The names in the filters are those that the path spells.
void checkPath(const std::string& path) {
  outcomeOf<error::EFatal>([&] {
    const std::string expression = pathExpression(path, false, "");
    const auto pattern = tql::parse(expression);
    const protocol::PathPattern* step = pattern.get();
    Names names;
    while (!step->children.empty()) {
      step = &*step->children.front();
      require(step->filter.size() == 1, "each step below the first has a filter");
      names.push_back(step->filter[0]->prop->data.as<protocol::StringProp>()->value);
    }
    Names spelled;
    const char* delimiter = ".,^";
    for (const std::string& part : split(',' + path, ',')) {
      if (*delimiter == ',') {
        spelled.push_back(part);
      } else if (*delimiter == '^' || part != ".") {
        spelled.splice(spelled.end(), split(*delimiter + part, *delimiter));
      }
      ++delimiter;
    }
    require(names == spelled, "the expression asks for the names of the path");
    return "";
  });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const char delimiter = input.PickValueInArray({'.', ',', '^', '"', '\0', '\n', 'a', '\xe9'});
  const std::string text = input.ConsumeRemainingBytesAsString();
  checkText(text, delimiter);
  checkPath(text);
  checkNames(text.empty() ? Names() : split('|' + text, '|'), delimiter);
  return 0;
}
