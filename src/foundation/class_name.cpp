#include "foundation/class_name.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace morvex {
namespace {

// The start of the last part of a qualified name. A "::" in template or function arguments does not count.
std::size_t lastNameBegin(std::string_view name) {
  std::size_t begin = 0;
  int depth = 0;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '<' || name[i] == '(') {
      ++depth;
    } else if (name[i] == '>' || name[i] == ')') {
      --depth;
    } else if (depth == 0 && name.substr(i, 2) == "::") {
      begin = i + 2;
    }
  }
  return begin;
}

}  // namespace

std::string typeName(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return name ? name.get() : type.name();
}

std::string className(const std::type_info& type) {
  std::string name = typeName(type);
  name.erase(0, lastNameBegin(name));
  return name;
}

}  // namespace morvex
