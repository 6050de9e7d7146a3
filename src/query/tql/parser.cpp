#include "query/tql/parser.h"

#include <algorithm>
#include <list>
#include <string_view>
#include <vector>

#include "foundation/errors.h"
#include "protocol/facts.h"
#include "query/tql/constant.h"
#include "query/tql/lexer.h"
#include "query/tql/property_codec.h"

namespace morvex::tql {
namespace {

using protocol::ListOfPathPattern;
using protocol::PathPattern;
using protocol::RelOperator;

struct Modifier {
  std::string_view token;
  std::uint32_t flag;
};

using namespace protocol::pattern_flag;

constexpr Modifier kModifiers[] = {
    {"*", kRecursive}, {"!", kAllProperties}, {"$", kKept}, {"#", kNumberSign}, {"-", kMinus}};

struct Operator {
  std::string_view token;
  RelOperator code;
};

constexpr Operator kOperators[] = {
    {"=", RelOperator::equal},
    {"==", RelOperator::equal},
    {">", RelOperator::greater},
    {"<", RelOperator::less},
    {">=", RelOperator::greaterOrEqual},
    {"<=", RelOperator::lessOrEqual},
    {"<>", RelOperator::notEqual},
    {"!=", RelOperator::notEqual},
    {"~=", RelOperator::matches},
    {"!~", RelOperator::matchesNot},
    {"in", RelOperator::in},
    {"intersects", RelOperator::intersects},
    {"subsetof", RelOperator::subsetOf},
    {"supersetof", RelOperator::supersetOf},
    {"isubstr", RelOperator::isSubstring},
};

// The row with this token; null if there is none.
template <class Row, std::size_t kCount>
const Row* find(const Row (&rows)[kCount], std::string_view token) {
  const Row* row = std::ranges::find(rows, token, &Row::token);
  return row == std::end(rows) ? nullptr : row;
}

// One function per rule, headed by the rule. It is entered on the rule's first token and leaves the lexer on
// the first one behind it. Expressions may nest to any depth, so open groups stand in a list and not on the
// stack.
class Parser {
 public:
  explicit Parser(const std::string& expression) : lexer_(expression) {}

  std::unique_ptr<PathPattern> takeExpression();

 private:
  // A group whose ")" is still to come.
  struct Group {
    PathPattern* owner;
    ListOfPathPattern* list;  // where its next step goes
  };

  ListOfPathPattern* takeFollowing(PathPattern& step);
  void takeStep(PathPattern& step);
  void takeClass(PathPattern& step);
  void takeModifiers(PathPattern& step);
  void takeNumber(PathPattern& step);
  void takeProperties(PathPattern& step);
  void takeFilter(PathPattern& step);
  void takeTerm(PathPattern& step);
  RelOperator takeOperator();
  void takeConstant(Property& property, const std::string& name);
  void takeIdList(Property& property, const std::string& name);

  bool accept(std::string_view token);
  void expect(std::string_view token, const char* expected);
  std::string takePropertyName(const char* place);
  std::string takeToken();

  Lexer lexer_;
  std::vector<Group> groups_;  // outermost first
};

// expression := step { following step }
std::unique_ptr<PathPattern> Parser::takeExpression() {
  lexer_.next();
  auto first = std::make_unique<PathPattern>();
  PathPattern* step = first.get();
  takeStep(*step);
  while (ListOfPathPattern* list = takeFollowing(*step)) {
    step = &list->emplace_back().emplace();
    takeStep(*step);
  }
  if (!lexer_.token.empty()) {
    throw error::EParseError("Extra input at end of expression");
  }
  return first;
}

// following := ">" [ "(" ] | { ")" } ( "|" | ":" )
// Takes the tokens between a step and the next one, or the ")" behind the last. Returns the list that the
// next step belongs to; null if there is none.
ListOfPathPattern* Parser::takeFollowing(PathPattern& step) {
  if (accept(">")) {
    if (accept("(")) {
      groups_.push_back({&step, &step.children});
    }
    return &step.children;
  }
  while (!groups_.empty()) {
    Group& group = groups_.back();
    if (accept("|")) {
      return group.list;
    }
    if (group.list == &group.owner->children && accept(":")) {
      return group.list = &group.owner->colonChildren;
    }
    expect(")", "Expected ) got: ");
    groups_.pop_back();
  }
  return nullptr;
}

// step := class { modifier } [ number ] [ properties ] [ filter ]
void Parser::takeStep(PathPattern& step) {
  takeClass(step);
  takeModifiers(step);
  takeNumber(step);
  takeProperties(step);
  takeFilter(step);
}

// class := upper-case word | "."
void Parser::takeClass(PathPattern& step) {
  const char first = lexer_.token.empty() ? '\0' : lexer_.token.front();
  if (!isUpper(first) && first != '.') {
    unexpected("Expected class name got: ", lexer_.token);
  }
  step.className = takeToken();
}

// modifier := "*" | "!" | "$" | "#" | "-"
void Parser::takeModifiers(PathPattern& step) {
  while (const Modifier* modifier = find(kModifiers, lexer_.token)) {
    step.flags |= modifier->flag;
    lexer_.next();
  }
}

// number := "=" digits
void Parser::takeNumber(PathPattern& step) {
  if (!accept("=")) {
    return;
  }
  if (lexer_.token.empty() || !isDigit(lexer_.token.front())) {
    unexpected("Expected constant got: ", lexer_.token, " after parsing '='(1).");
  }
  if (!std::ranges::all_of(lexer_.token, isDigit)) {
    unexpected("Expected constant(2) got: ", lexer_.token, " after parsing '='(2).");
  }
  step.number = wrapDigits(lexer_.token);
  lexer_.next();
}

// properties := "[" name { "," name } "]"
void Parser::takeProperties(PathPattern& step) {
  if (!accept("[")) {
    return;
  }
  do {
    step.properties.push_back(takePropertyName(" after parsing '['"));
  } while (accept(","));
  expect("]", "Expected ] got: ");
}

// filter := "{" term { ( "&" | "and" ) term } "}"
void Parser::takeFilter(PathPattern& step) {
  if (!accept("{")) {
    return;
  }
  do {
    takeTerm(step);
  } while (accept("&") || accept("and"));
  expect("}", "Expected } got: ");
}

// term := "true" | name operator constant
void Parser::takeTerm(PathPattern& step) {
  const std::string name = takePropertyName(" after parsing '{'");
  if (name == "true") {
    return;
  }
  protocol::RelativeExpr& term = step.filter.emplace_back().emplace();
  term.op = takeOperator();
  takeConstant(term.prop.emplace(), name);
}

RelOperator Parser::takeOperator() {
  const Operator* found = find(kOperators, lexer_.token);
  if (found == nullptr) {
    unexpected("Expected relational operator got: ", lexer_.token);
  }
  lexer_.next();
  return found->code;
}

// constant := idlist | string | number | word
void Parser::takeConstant(Property& property, const std::string& name) {
  if (lexer_.token.empty()) {
    unexpected("Expected constant got: ", lexer_.token, " (blank)");
  }
  if (accept("{")) {
    takeIdList(property, name);
    return;
  }
  encodeConstant(property, name, lexer_.token);
  lexer_.next();
}

// idlist := "{" [ id { "," id } ] "}"
void Parser::takeIdList(Property& property, const std::string& name) {
  std::list<std::string> ids;
  if (lexer_.token != "}") {
    do {
      const std::string& token = lexer_.token;
      if (token != "[" && !token.starts_with('"')) {
        unexpected("Expected id got: ", token);
      }
      ids.push_back(token == "[" ? std::string() : token.substr(1, token.size() - 2));
      lexer_.next();
    } while (accept(","));
  }
  expect("}", "Expected } but got: ");
  encode(property, name, kIdSet, ids);
}

// Steps over the token if it is this one.
bool Parser::accept(std::string_view token) {
  if (lexer_.token != token) {
    return false;
  }
  lexer_.next();
  return true;
}

void Parser::expect(std::string_view token, const char* expected) {
  if (!accept(token)) {
    unexpected(expected, lexer_.token);
  }
}

// name := lower-case word
std::string Parser::takePropertyName(const char* place) {
  if (lexer_.token.empty() || !isLower(lexer_.token.front())) {
    unexpected("Expected property name got: ", lexer_.token, place);
  }
  return takeToken();
}

std::string Parser::takeToken() {
  std::string token = std::move(lexer_.token);
  lexer_.next();
  return token;
}

}  // namespace

std::unique_ptr<PathPattern> parse(const std::string& expression) try {
  return Parser(expression).takeExpression();
} catch (error::Exception& fault) {
  fault.suffix += ": parsing " + expression;
  throw;
}

}  // namespace morvex::tql
