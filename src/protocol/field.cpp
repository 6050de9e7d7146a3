#include "protocol/field.h"

#include "foundation/assertion.h"

namespace morvex::protocol {
namespace {

template <class T>
constexpr Bounds kBoundsOf = std::is_same_v<T, std::string> ? upTo(65536) : Bounds{};

}  // namespace

Step Wire<PlainValue>::take(const Field& row, Record& owner, Decoder& decoder) {
  Step step = decoder.header();
  if (step != Step::taken) {
    return step;
  }
  const auto attempt = [&]<class T>(std::type_identity<T>) {
    if (decoder.tag() != Leaf<T>::kTag.word(decoder.legacy())) {
      return false;
    }
    step =
        decoder.takeContent<T>(kBoundsOf<T>, [&]() -> T& { return of(row.in(owner)).template emplace<T>(); });
    return true;
  };
  if (!attempt(std::type_identity<std::int32_t>()) && !attempt(std::type_identity<std::string>()) &&
      !attempt(std::type_identity<Null>()) && !attempt(std::type_identity<double>())) {
    decoder.refuseAlternative(owner, row);
  }
  return step;
}

void Wire<PlainValue>::put(const void* member, const Bounds&, Writer& writer) {
  const auto putHeld = [&]<class T>(const T& value) {
    if constexpr (std::is_same_v<T, std::monostate>) {
      assertionFailed("PlainValue is NULL during BER write");
    } else {
      Leaf<T>::put(value, kBoundsOf<T>, writer);
    }
  };
  std::visit(putHeld, of(member));
}

}  // namespace morvex::protocol
