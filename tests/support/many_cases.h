#pragma once

#include <cstddef>
#include <random>

// Cases by the million.

#if defined(__has_feature)
#define SANITIZED __has_feature(address_sanitizer)
#elif defined(__SANITIZE_ADDRESS__)
#define SANITIZED 1
#else
#define SANITIZED 0
#endif

namespace morvex {
constexpr std::size_t kShare = SANITIZED ? 10 : 1;  // one in so many of the cases

inline std::mt19937_64 g_random(1);

inline std::size_t below(std::size_t limit) { return g_random() % limit; }

}  // namespace morvex
