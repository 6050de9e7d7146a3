#include "protocol/leaf.h"

#include <array>
#include <cmath>
#include <string_view>
#include <typeinfo>

#include "foundation/assertion.h"
#include "foundation/class_name.h"
#include "foundation/number_text.h"
#include "foundation/text.h"
#include "foundation/wipe.h"
#include "protocol/ber_error.h"

namespace morvex::protocol {
namespace {

// The first byte of a REAL. X.690, clause 8.5 has the infinities; the other two are this protocol's.
enum class RealForm : std::uint8_t {
  text = 0x00,
  plusInfinity = 0x40,
  minusInfinity = 0x41,
  notANumber = 0x60,
};

double realFromText(std::string_view text) {
  try {
    return stringToReal(text);
  } catch (const error::EParseError&) {
    throw EBer("Parse error in real number");
  }
}

std::string comparison(std::uint64_t length, std::size_t limit) {
  return std::to_string(length) + " > " + std::to_string(limit);
}

}  // namespace

void checkDataLength(std::uint64_t length, std::size_t limit) {
  if (length > limit) {
    throw EBer("Data value exceeds maximum allowed length " + comparison(length, limit));
  }
}

void checkStringLength(std::uint64_t length, std::size_t limit) {
  if (length > limit) {
    throw EBer("String exceeds allowed length " + comparison(length, limit));
  }
}

void refuseWideInteger() { throw EBer("data out of range in BerIntegerTemplate"); }

template <class T>
void refuseInteger(T value, T low, T high, const char* place) {
  throw EBer("data out of range in BerIntegerTemplate<" + typeName(typeid(T)) + ">::" + place + " " +
             std::to_string(low) + " <= " + std::to_string(value) + " <= " + std::to_string(high));
}
template void refuseInteger(std::int32_t, std::int32_t, std::int32_t, const char*);
template void refuseInteger(std::uint32_t, std::uint32_t, std::uint32_t, const char*);
template void refuseInteger(std::int64_t, std::int64_t, std::int64_t, const char*);
template void refuseInteger(std::uint64_t, std::uint64_t, std::uint64_t, const char*);

double realFrom(Content content) {
  if (content.empty()) {
    return 0;
  }
  const char* text = reinterpret_cast<const char*>(content.data());
  switch (static_cast<RealForm>(content.front())) {
    case RealForm::text:
      return realFromText({text + 1, text + content.size()});
    case RealForm::plusInfinity:
      return std::numeric_limits<double>::infinity();
    case RealForm::minusInfinity:
      return -std::numeric_limits<double>::infinity();
    case RealForm::notANumber:
      return 0;
  }
  throw EBer("Unsupported real number format revceived");
}

void putReal(Writer& writer, double value) {
  writer.shortPrimitive(BE_REAL, [value](std::uint8_t* content) {
    const auto begin = [&](RealForm form) {
      *content = static_cast<std::uint8_t>(form);
      return content + 1;
    };
    if (std::isnan(value)) {
      return begin(RealForm::notANumber);
    }
    if (std::isinf(value)) {
      return begin(value > 0 ? RealForm::plusInfinity : RealForm::minusInfinity);
    }
    if (value == 0) {
      return content;
    }
    char* text = reinterpret_cast<char*>(begin(RealForm::text));
    auto* const end = reinterpret_cast<std::uint8_t*>(putScientific(text, value));
    assertThat(static_cast<std::size_t>(end - content) <= kLongestReal,
               "String representation of double larger than buffer");
    return end;
  });
}

void Leaf<std::string>::decode(Content content, const Bounds&, std::string& value) {
  value.append(reinterpret_cast<const char*>(content.data()), content.size());
}

void Leaf<BigNum>::put(const BigNum& value, const Bounds&, Writer& writer) {
  checkDataLength(value.dataCapacity(), kLongestBigNum);
  std::array<std::uint8_t, kLongestBigNum> content;
  std::size_t length = content.size();
  value.bn_get_data(content.data(), length);
  writer.primitive(kTag, {content.data(), length});
  wipe(content.data(), length);
}

}  // namespace morvex::protocol
