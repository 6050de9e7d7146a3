#include "foundation/errors.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "foundation/assertion.h"

namespace morvex {
namespace {

// Indexed by ErrorCode.
constexpr std::array<const char*, 16> kErrorTexts = {
    "No error",
    "Specified ID not found in database",
    "Pattern matched nothing",
    "Someone else has updated the object",
    "Attempted insertion of duplicate value in unique property",
    "Specified class not allowed as child of given object",
    "Some required properties is missing",
    "Requested update of noexistant property",
    "Requested update of const property",
    "Property updated with illegal type",
    "Property updated with illegal value",
    "Incomparable property",
    "The pattern is not implemented",
    "Unknown error",
    "Backend error",
    "Access denied",
};

}  // namespace

std::string errors::tql::description() const {
  return message.empty() ? errorText(static_cast<std::uint32_t>(code)) : message;
}

void throwSystemError(std::string message) { throw error::ESystemError(std::move(message)); }

const char* errorText(std::uint32_t code) {
  return code < kErrorTexts.size() ? kErrorTexts[code] : "Unknown error";
}

std::string errorString(std::uint32_t code) { return errorText(code); }

void (*g_reportAssertion)(std::string_view) noexcept = [](std::string_view text) noexcept {
  std::fwrite(text.data(), 1, text.size(), stderr);
};

void assertionFailed(std::string_view message) {
  g_reportAssertion("Assertion failed: " + std::string(message) + "\n");
  std::abort();
}

}  // namespace morvex
