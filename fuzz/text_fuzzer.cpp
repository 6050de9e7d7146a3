// The texts of numbers, identifiers and times, against the C library where that is the definition.

#include "foundation/text.h"

#include <cstdlib>
#include <ctime>

#include "foundation/big_num.h"
#include "platform/time_zone.h"
#include "require.h"

using namespace morvex;

namespace {

using Bytes = std::vector<std::uint8_t>;

// Central European Time, set before anything makes a TimeZone.
const bool g_zoneSet = setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1) == 0;
const TimeZone kLocal(TimeZone::localMarker);

template <class... Values>
std::string printed(const char* format, Values... values) {
  char text[100];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, values...))};
}

void checkReal(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  require(outcomeOf([&] { return printed("%a", stringToReal(text)); }) ==
              (end == text.c_str() + text.size() ? printed("%a", value)
                                                 : "refused: Error parsing: \"" + text + "\""),
          "strtod of " + text);
}

// strtol with 64 bits tells what it gives with 32: a value beyond 64 bits is beyond 32 as well.
void checkIntegers(const std::string& text) {
  char* end = nullptr;
  std::int64_t value = std::strtol(text.c_str(), &end, 10);
  const bool whole = end == text.c_str() + text.size();
  const std::string refusal = "refused: Error parsing: " + quotedString(text);
  const auto low = [&] { return std::abs(value) >> 32 == 0 ? static_cast<std::uint32_t>(value) : ~0u; };
  require(outcomeOf([&] { return printed("%d", stringToInt(text)); }) ==
              (whole ? printed("%ld", std::clamp(value, -2147483648l, 2147483647l)) : refusal),
          "strtol of " + text);
  value = std::max(value, -std::numeric_limits<std::int64_t>::max());
  require(outcomeOf([&] { return printed("%u", stringToUint(text)); }) ==
              (whole ? printed("%u", low()) : refusal),
          "strtoul of " + text);
  value = std::max(std::strtol(text.c_str(), &end, 16), -std::numeric_limits<std::int64_t>::max());
  const std::string rest = text.substr(static_cast<std::size_t>(end - text.c_str()));
  const std::string outcome = outcomeOf([&] { return printed("%u", hexStringToUint(text)); });
  require(std::abs(value) >> 32 != 0 ? outcome == "refused: Value \"" + text + "\" out of range"
          : rest.empty()             ? outcome == printed("%u", low())
                         : outcome == "refused: Unexpected character: " + quotedString(rest.substr(0, 1)) +
                                          " in hex string " + quotedString(text),
          "strtoul of hexadecimal " + text);
}

void checkGid(std::uint32_t gid, const std::string& text) {
  require(stringToGid(gidToString(gid)) == gid, "a GID comes back");
  outcomeOf<error::EParseError>([&] { return gidToString(stringToGid(text)); });
}

void checkBase64(const Bytes& bytes, const std::string& text) {
  Bytes decoded;
  base64Decode(base64Encode(bytes), decoded);
  require(decoded == bytes, "base64 comes back");
  base64Decode(text, decoded);
  require(decoded.size() * 8 <= text.size() * 6, "a character holds six bits");
}

void checkBigNum(const std::string& text) {
  outcomeOf<error::EParseError>([&] {
    BigNum number, again;
    number.fromHex(text);
    again.fromHex(number.toHex());
    require(again == number, "hexadecimal comes back");
    return "";
  });
}

// The calendar fields of a time read back as the time; in the hour that comes twice, they may mean either.
void checkTime(const std::string& text, std::uint32_t time) {
  outcomeOf([&] { return std::to_string(parseIsoTime(text, kLocal)); });
  for (const TimeZone& zone : {kLocal, TimeZone(static_cast<std::int32_t>(time % 172801) - 86400)}) {
    const auto iso = [&](std::int64_t moment) {
      std::tm fields{};
      breakDownTime(zone, fields, static_cast<std::uint64_t>(moment));
      char buffer[64];
      return std::string(buffer, std::strftime(buffer, sizeof buffer, "%Y-%m-%d-T%H:%M:%S", &fields));
    };
    require(iso(parseIsoTime(iso(time), zone)) == iso(time), iso(time) + " comes back");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto number = input.ConsumeIntegral<std::uint32_t>();
  const std::string text = input.ConsumeRandomLengthString();
  const Bytes rest = input.ConsumeRemainingBytes<std::uint8_t>();
  checkReal(text);
  checkIntegers(text);
  checkGid(number, text);
  checkBase64(rest, text);
  checkBigNum(text);
  require(g_zoneSet, "the zone is set");
  checkTime(text, number);
  return 0;
}
