#include "platform/clock.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace morvex {

std::int64_t currentSeconds() { return _time64(nullptr); }

bool platform_system_time(std::uint64_t& time) {
  SYSTEMTIME now;
  FILETIME units;
  GetSystemTime(&now);
  if (SystemTimeToFileTime(&now, &units) == 0) {
    return false;
  }
  time = std::uint64_t{units.dwHighDateTime} << 32 | units.dwLowDateTime;
  return true;
}

void sleepSeconds(std::int64_t seconds) {
  constexpr std::int64_t kLongest = 4'000'000;  // its milliseconds fit a DWORD, below INFINITE
  while (seconds > 0) {
    const std::int64_t piece = std::min(seconds, kLongest);
    Sleep(static_cast<DWORD>(piece * 1000));
    seconds -= piece;
  }
}

bool platform_set_zone(const char* zone) {
  static char setting[1024];  // the C library may keep the pointer
  std::snprintf(setting, sizeof setting, "TZ=%s", zone == nullptr ? "" : zone);
  if (_putenv(setting) != 0) {
    return false;
  }
  _tzset();
  return true;
}

bool platform_break_down(std::int64_t time, tm& result) {
  const tm* const fields = _localtime64(&time);
  if (fields == nullptr) {
    return false;
  }
  result = *fields;
  return true;
}

std::int64_t platform_compose(tm& fields) { return _mktime64(&fields); }

// The zone in force has one offset, and another for daylight saving time.
bool platform_same_offset(const tm& one, const tm& other) { return one.tm_isdst == other.tm_isdst; }

}  // namespace morvex
