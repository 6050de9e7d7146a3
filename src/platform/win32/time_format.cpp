// The C library of this system knows half of the conversions, and refuses a format with any other. So this
// file formats times; only the name of the zone comes from the C library.

#include <algorithm>
#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "platform/clock.h"

namespace morvex {
namespace {

// One conversion: '%', flags, a width, a modifier that means nothing in the C locale, and a letter.
// Padding is '0', '_' for blanks, '-' for none without a width, or 0 for the letter's own.
struct Conversion {
  char padding = '\0';
  char letterCase = '\0';  // '^' for capitals, '#' for the other case
  std::size_t width = 0;
  char letter = '\0';
};

struct Number {
  std::int64_t value;
  std::size_t digits;
  char padding = '0';
};

int daysIn(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 366 : 365; }

int daysSinceMonday(const tm& fields) { return (fields.tm_wday + 6) % 7; }

struct IsoWeek {
  int year, week;
};

// A week belongs to the year of its Thursday.
IsoWeek isoWeekOf(const tm& fields) {
  int year = fields.tm_year + 1900;
  int thursday = fields.tm_yday - daysSinceMonday(fields) + 3;
  if (thursday < 0) {
    thursday += daysIn(--year);
  } else if (thursday >= daysIn(year)) {
    thursday -= daysIn(year++);
  }
  return {year, thursday / 7 + 1};
}

std::int64_t secondsOf(tm fields) { return _mktime64(&fields); }

std::optional<Number> numberFor(char letter, const tm& fields) {
  const int year = fields.tm_year + 1900;
  const int hour = (fields.tm_hour + 11) % 12 + 1;
  switch (letter) {
    case 'C':
      return Number{year / 100, 2};
    case 'd':
      return Number{fields.tm_mday, 2};
    case 'e':
      return Number{fields.tm_mday, 2, '_'};
    case 'G':
      return Number{isoWeekOf(fields).year, 4};
    case 'g':
      return Number{isoWeekOf(fields).year % 100, 2};
    case 'H':
      return Number{fields.tm_hour, 2};
    case 'I':
      return Number{hour, 2};
    case 'j':
      return Number{fields.tm_yday + 1, 3};
    case 'k':
      return Number{fields.tm_hour, 2, '_'};
    case 'l':
      return Number{hour, 2, '_'};
    case 'M':
      return Number{fields.tm_min, 2};
    case 'm':
      return Number{fields.tm_mon + 1, 2};
    case 'S':
      return Number{fields.tm_sec, 2};
    case 's':
      return Number{secondsOf(fields), 1, '_'};
    case 'U':
      return Number{(fields.tm_yday + 7 - fields.tm_wday) / 7, 2};
    case 'u':
      return Number{daysSinceMonday(fields) + 1, 1};
    case 'V':
      return Number{isoWeekOf(fields).week, 2};
    case 'W':
      return Number{(fields.tm_yday + 7 - daysSinceMonday(fields)) / 7, 2};
    case 'w':
      return Number{fields.tm_wday, 1};
    case 'Y':
      return Number{year, 4};
    case 'y':
      return Number{year % 100, 2};
    default:
      return std::nullopt;
  }
}

// The format that a letter abbreviates.
const char* formatFor(char letter) {
  switch (letter) {
    case 'c':
      return "%a %b %e %H:%M:%S %Y";
    case 'D':
    case 'x':
      return "%m/%d/%y";
    case 'F':
      return "%Y-%m-%d";
    case 'R':
      return "%H:%M";
    case 'r':
      return "%I:%M:%S %p";
    case 'T':
    case 'X':
      return "%H:%M:%S";
    default:
      return nullptr;
  }
}

std::string_view dayOf(const tm& fields) {
  constexpr std::array kDays = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
  return kDays[static_cast<std::size_t>(fields.tm_wday)];
}

std::string_view monthOf(const tm& fields) {
  constexpr std::array kMonths = {"January", "February", "March",     "April",   "May",      "June",
                                  "July",    "August",   "September", "October", "November", "December"};
  return kMonths[static_cast<std::size_t>(fields.tm_mon)];
}

std::optional<std::string_view> textFor(char letter, const tm& fields) {
  switch (letter) {
    case 'A':
      return dayOf(fields);
    case 'a':
      return dayOf(fields).substr(0, 3);
    case 'B':
      return monthOf(fields);
    case 'b':
    case 'h':
      return monthOf(fields).substr(0, 3);
    case 'n':
      return "\n";
    case 'P':
      return fields.tm_hour < 12 ? "am" : "pm";
    case 'p':
      return fields.tm_hour < 12 ? "AM" : "PM";
    case 't':
      return "\t";
    case 'Z':
      return _tzname[fields.tm_isdst > 0 ? 1 : 0];
    case '%':
      return "%";
    default:
      return std::nullopt;
  }
}

std::string padded(std::string_view text, char padding, std::size_t width) {
  std::string whole(text.size() < width ? width - text.size() : 0, padding == '0' ? '0' : ' ');
  return whole.append(text);
}

std::string numberText(const Number& number, const Conversion& conversion) {
  const char padding = conversion.padding == '\0' ? number.padding : conversion.padding;
  const std::size_t width = padding == '-' ? conversion.width : std::max(conversion.width, number.digits);
  return padded(std::to_string(number.value), padding, width);
}

// The offset from UTC, as in +0530.
std::string offsetText(const tm& fields, const Conversion& conversion) {
  tm utc = fields;
  const auto minutes = static_cast<int>((_mkgmtime64(&utc) - secondsOf(fields)) / 60);
  const int distance = std::abs(minutes);
  const Number number{distance / 60 * 100 + distance % 60, 4};
  return (minutes < 0 ? '-' : '+') + numberText(number, conversion);
}

std::string inCase(std::string text, const Conversion& conversion) {
  if (conversion.letterCase == '\0') {
    return text;
  }
  const bool lower = conversion.letterCase == '#' &&
                     std::string_view("pPZ").find(conversion.letter) != std::string_view::npos;
  for (char& c : text) {
    if (lower && c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    } else if (!lower && c >= 'a' && c <= 'z') {
      c = static_cast<char>(c - 'a' + 'A');
    }
  }
  return text;
}

// Takes a conversion after its '%'. Returns its length.
std::size_t takeConversion(std::string_view text, Conversion& conversion) {
  const auto at = [text](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  std::size_t i = 0;
  for (; std::string_view("_-0^#").find(at(i)) != std::string_view::npos; ++i) {
    (at(i) == '^' || at(i) == '#' ? conversion.letterCase : conversion.padding) = at(i);
  }
  constexpr std::size_t kWidest = 1000;  // no text is longer
  for (; at(i) >= '0' && at(i) <= '9'; ++i) {
    conversion.width = std::min(conversion.width * 10 + static_cast<std::size_t>(at(i) - '0'), kWidest);
  }
  i += at(i) == 'E' || at(i) == 'O' ? 1 : 0;
  conversion.letter = at(i);
  return std::min(i + 1, text.size());
}

std::string formatted(std::string_view format, const tm& fields);

// Empty for an unknown letter.
std::optional<std::string> converted(const Conversion& conversion, const tm& fields) {
  if (const auto number = numberFor(conversion.letter, fields)) {
    return numberText(*number, conversion);
  }
  if (conversion.letter == 'z') {
    return offsetText(fields, conversion);
  }
  std::string text;
  if (const char* format = formatFor(conversion.letter)) {
    text = formatted(format, fields);
  } else if (const auto name = textFor(conversion.letter, fields)) {
    text = *name;
  } else {
    return std::nullopt;
  }
  return padded(inCase(std::move(text), conversion), conversion.padding, conversion.width);
}

std::string formatted(std::string_view format, const tm& fields) {
  std::string text;
  while (!format.empty()) {
    const std::size_t literal = std::min(format.find('%'), format.size());
    text += format.substr(0, literal);
    format.remove_prefix(literal);
    if (!format.empty()) {
      Conversion conversion;
      const std::size_t length = 1 + takeConversion(format.substr(1), conversion);
      text += converted(conversion, fields).value_or(std::string(format.substr(0, length)));
      format.remove_prefix(length);
    }
  }
  return text;
}

}  // namespace

std::size_t platform_format_time(char* text, std::size_t room, const char* format, const tm& fields) {
  const std::string whole = formatted(format, fields);
  if (whole.size() >= room) {
    return 0;
  }
  text[whole.copy(text, whole.size())] = '\0';
  return whole.size();
}

}  // namespace morvex
