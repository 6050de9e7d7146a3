#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace morvex {

// Whole seconds since 1970-01-01 00:00 UTC.
std::int64_t currentSeconds();

// The system's clock, in units of 100 nanoseconds since 1601-01-01 00:00 UTC. False if it could not be read.
bool platform_system_time(std::uint64_t& time);

// Pauses the process. A count below 1 returns at once.
void sleepSeconds(std::int64_t seconds);

// The C library's calendar in the zone in force. Each platform has its own.

// Puts a zone in force: the text of TZ, or the system's zone if it is null. False if it was refused.
bool platform_set_zone(const char* zone);
// False if the time is not representable.
bool platform_break_down(std::int64_t time, std::tm& result);
// -1 if the fields are not representable.
std::int64_t platform_compose(std::tm& fields);
// Whether both have the same offset from UTC under the same name of the zone.
bool platform_same_offset(const std::tm& one, const std::tm& other);

// As strftime in the C locale, with the conversions of the GNU C library on every platform. Returns the
// length of the text, or 0 if it does not fit the room with its terminator.
std::size_t platform_format_time(char* text, std::size_t room, const char* format, const std::tm& fields);

}  // namespace morvex
