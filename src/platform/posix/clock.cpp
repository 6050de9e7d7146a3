#include "platform/clock.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace morvex {

std::int64_t currentSeconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec;
}

bool platform_system_time(std::uint64_t& time) {
  constexpr std::int64_t kUnitsPerSecond = 10000000;
  constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME, &now) != 0) {
    return false;
  }
  time =
      static_cast<std::uint64_t>((now.tv_sec + kSecondsFrom1601To1970) * kUnitsPerSecond + now.tv_nsec / 100);
  return true;
}

void sleepSeconds(std::int64_t seconds) {
  if (seconds < 1) {
    return;
  }
  timespec left{.tv_sec = seconds, .tv_nsec = 0};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

// The C library's own default. If TZ names it, mktime need not check the file for changes on each call, which
// takes five times as long as the conversion.
constexpr const char* kSystemZone = ":/etc/localtime";

bool platform_set_zone(const char* zone) {
  if (setenv("TZ", zone == nullptr ? kSystemZone : zone, 1) != 0) {
    return false;
  }
  errno = 0;
  tzset();
  return errno != ENOMEM;  // without memory the zone becomes UTC in silence
}

bool platform_break_down(std::int64_t time, tm& result) { return localtime_r(&time, &result) != nullptr; }

std::int64_t platform_compose(tm& fields) { return mktime(&fields); }

bool platform_same_offset(const tm& one, const tm& other) {
  return one.tm_gmtoff == other.tm_gmtoff && one.tm_isdst == other.tm_isdst &&
         std::strcmp(one.tm_zone, other.tm_zone) == 0;
}

std::size_t platform_format_time(char* text, std::size_t room, const char* format, const tm& fields) {
  return strftime(text, room, format, &fields);
}

}  // namespace morvex
