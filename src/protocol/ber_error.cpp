#include "protocol/ber_error.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "foundation/number_text.h"

namespace morvex::protocol {
namespace {

constexpr std::string_view kBetween = ", ";  // the levels of a place; also in front of the first
constexpr std::size_t kShownAtEachEnd = 10;

}  // namespace

std::string EBer::shortText() const {
  std::size_t levels = 0, head = 0, tail = suffix.size();
  for (std::size_t at = 0; (at = suffix.find(kBetween, at)) != std::string::npos; at += kBetween.size()) {
    head = levels++ == kShownAtEachEnd ? at : head;
  }
  if (levels <= 2 * kShownAtEachEnd) {
    return text();
  }
  for (std::size_t i = 0; i < kShownAtEachEnd; ++i) {
    tail = suffix.rfind(kBetween, tail - 1);
  }
  std::array<char, 26> count;
  const char* const end = putGrouped(count.data(), levels - 2 * kShownAtEachEnd);
  return description() + suffix.substr(0, head) + ", ... " + std::string(std::as_const(count).data(), end) +
         " more ..." + suffix.substr(tail);
}

}  // namespace morvex::protocol
