#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "protocol/ber_primitives.h"
#include "protocol/ber_value.h"
#include "protocol/members.h"
#include "protocol/owned.h"
#include "protocol/record.h"
#include "protocol/tag.h"

// One declaration per message. A record is its members, one row per field in wire order, and a head line:
//
//   struct CreateResp final : Message<CreateResp> {
//     std::string id, version;
//     static constexpr Field kFields[] = {
//         field<&Self::id>("id", upTo(32)),
//         field<&Self::version>("version", upTo(52)),
//     };
//     static constexpr Schema kSchema{.tag = alternative(3), .fields = kFields, .required = 1};
//   };
//
// The list of catalogue.cpp names it as well: its table is compiled there. The member's type decides what
// travels:
//   bool, double, BigNum, the four integers     BOOLEAN, REAL, INTEGER; integers may have bounds
//   std::string                                 a string, with its limit
//   an enum class over std::int32_t             ENUMERATED
//   Nullable<T>                                 an integer or a NULL
//   a class derived from ListOf or SetOf        the list class of that name
//   Owned<Record>                               that record
//   OneOf<...>, OneOfInPlace<...>               one of these classes, told apart by tag
// Writing, reading, comparing, copying and the texts of refusals follow from the rows. None of them recurses
// into nested records: how deep a message nests is its sender's choice.
namespace morvex::protocol {

// The refusals, each in its one wording.
[[noreturn]] void refuseTag(const Tag& wanted, std::uint32_t got, bool legacy);
[[noreturn]] void refuseAlternative(const Record& owner, const Field& field, std::uint32_t got);

// The wire class of a list or set while it is being read: a wrapper around the container.
struct ListAccess {
  const std::type_info* type;
  const Tag* tag;
  BerValue* (*append)(void* container, std::uint32_t tag, bool legacy, FieldSlot&);
  // The body of takePlain.
  std::size_t (*takePlain)(void* container, std::uint32_t& index, std::span<const std::uint8_t>, bool legacy);
  void (*write)(const void* container, BasicIo&, bool legacy);
  Relation equal;
  Relation less;
  bool rows = false;  // its elements count as rows
};

class ListValue final : public BerConstructed {
 public:
  ListValue(void* container, const ListAccess& access) : container_(container), access_(&access) {}
  // A wrapper lives for one read or write and cannot be copied: throws EBer.
  ListValue(const ListValue& other);
  ListValue& operator=(const ListValue&) = delete;

  std::unique_ptr<BerValue> clone() const override { return std::make_unique<ListValue>(*this); }
  std::uint32_t tag(bool legacy) const override { return access_->tag->word(legacy); }
  bool equals(const BerValue& other) const override;
  bool less(const BerValue& other) const override;
  void write(BasicIo& io, bool legacy) const override { access_->write(container_, io, legacy); }
  BerValue* makeField(std::uint32_t index, std::uint32_t tag, bool legacy, FieldSlot& slot) override;
  std::size_t takePlain(std::uint32_t& index, std::span<const std::uint8_t> bytes, bool legacy) override;
  std::uint32_t minFields() const override { return 0; }
  bool readerOwned() const override { return true; }
  std::string name() const override;

 private:
  void* container_;
  const ListAccess* access_;
};

// The wrapper for a list that the reader has met.
BerValue* openList(void* container, const ListAccess& access, std::uint32_t tag, bool legacy);

// The content of the primitive at the front of bytes, if it has this tag and a short length and lies there
// whole. What precedes it is kPlainHeader bytes long.
inline constexpr std::size_t kPlainHeader = 2;
struct PlainItem {
  bool found = false;
  std::span<const std::uint8_t> content;
};
inline PlainItem plainItem(std::span<const std::uint8_t> bytes, std::uint8_t octet) {
  if (bytes.size() < kPlainHeader || bytes[0] != octet || bytes[1] >= 0x80 ||
      bytes.size() - kPlainHeader < bytes[1]) {
    return {};
  }
  return {true, bytes.subspan(kPlainHeader, bytes[1])};
}

// Takes the record at the front of bytes and returns its size; 0 if it isn't there, isn't whole, or has
// anything in it that isn't plain, and then the record is of no more use. Fields behind those that are known
// aren't plain.
template <class T>
std::size_t takeWhole(T& record, std::span<const std::uint8_t> bytes, bool legacy);

// ---- What each member type does. A Leaf says which view stands for a primitive member, and how plain
// items are taken and put without one. ----

template <class T>
struct Leaf;

template <>
struct Leaf<bool> {
  static constexpr const Tag& kTag = BE_BOOLEAN;
  using View = BerBoolean;
  static View* open(FieldSlot& slot, bool* member, const Bounds&) { return slot.emplace<View>(member); }
  static View view(bool* member, const Bounds&) { return View(member); }
};
template <>
struct Leaf<double> {
  static constexpr const Tag& kTag = BE_REAL;
  using View = BerReal;
  static View* open(FieldSlot& slot, double* member, const Bounds&) { return slot.emplace<View>(member); }
  static View view(double* member, const Bounds&) { return View(member); }
  static bool take(double& member, const Bounds&, std::span<const std::uint8_t> content) {
    return readPlainReal(content, member);
  }
  static std::uint8_t* put(std::uint8_t* at, double member, const Bounds&, bool) {
    return putRealItem(at, member);
  }
};
template <>
struct Leaf<BigNum> {
  static constexpr const Tag& kTag = BE_INTEGER;
  using View = BerBigNum;
  static View* open(FieldSlot& slot, BigNum* member, const Bounds&) { return slot.emplace<View>(member); }
  static View view(BigNum* member, const Bounds&) { return View(member); }
};
template <>
struct Leaf<std::string> {
  static constexpr const Tag& kTag = BE_STRING;
  using View = BerString;
  static View* open(FieldSlot& slot, std::string* member, const Bounds& bounds) {
    return slot.emplace<View>(member, static_cast<std::size_t>(bounds.high));
  }
  static View view(std::string* member, const Bounds& bounds) {
    return {member, static_cast<std::size_t>(bounds.high)};
  }
  static bool take(std::string& member, const Bounds& bounds, std::span<const std::uint8_t> content) {
    if (content.size() > static_cast<std::size_t>(bounds.high)) {
      return false;
    }
    member.append(reinterpret_cast<const char*>(content.data()), content.size());
    return true;
  }
  static std::uint8_t* put(std::uint8_t* at, const std::string& member, const Bounds& bounds, bool legacy) {
    if (member.size() > std::min(kLongestShortContent, static_cast<std::size_t>(bounds.high))) {
      return nullptr;
    }
    return putPrimitive(at, kTag.word(legacy),
                        {reinterpret_cast<const std::uint8_t*>(member.data()), member.size()});
  }
};
template <std::integral T>
struct Leaf<T> {
  static constexpr const Tag& kTag = BE_INTEGER;
  using View = BerIntegerTemplate<T>;
  static T low(const Bounds& bounds) {
    return bounds.given ? static_cast<T>(bounds.low) : std::numeric_limits<T>::min();
  }
  static T high(const Bounds& bounds) {
    return bounds.given ? static_cast<T>(bounds.high) : std::numeric_limits<T>::max();
  }
  static View* open(FieldSlot& slot, T* member, const Bounds& bounds) {
    return slot.emplace<View>(member, low(bounds), high(bounds));
  }
  static View view(T* member, const Bounds& bounds) { return {member, low(bounds), high(bounds)}; }
  static bool take(T& member, const Bounds& bounds, std::span<const std::uint8_t> content) {
    return readPlainInteger(content, low(bounds), high(bounds), member);
  }
  static std::uint8_t* put(std::uint8_t* at, T member, const Bounds& bounds, bool) {
    if (member < low(bounds) || member > high(bounds)) {
      return nullptr;
    }
    if constexpr (std::is_signed_v<T>) {
      return putSigned(at, kTag.current, member);
    } else {
      return putUnsigned(at, kTag.current, member);
    }
  }
};
template <class T>
requires std::is_enum_v<T>
struct Leaf<T> {
  static constexpr const Tag& kTag = BE_ENUMERATED;
  using View = BerEnumerated<T>;
  static View* open(FieldSlot& slot, T* member, const Bounds&) { return slot.emplace<View>(member); }
  static View view(T* member, const Bounds&) { return View(member); }
  static bool take(T& member, const Bounds&, std::span<const std::uint8_t> content) {
    if (content.size() > sizeof(std::int32_t)) {
      return false;
    }
    member = static_cast<T>(integerFrom<std::int32_t>(content));
    return true;
  }
  static std::uint8_t* put(std::uint8_t* at, T member, const Bounds&, bool) {
    return putEnumerated(at, static_cast<std::int32_t>(member));
  }
};

template <class T>
concept HasShortWay = requires {
  &Leaf<T>::take;
};

template <class T>
struct Plain {
  static const T& of(const void* member) { return *static_cast<const T*>(member); }
  static T& of(void* member) { return *static_cast<T*>(member); }
  static bool equal(const void* a, const void* b) { return of(a) == of(b); }
  static bool less(const void* a, const void* b) { return of(a) < of(b); }
  static void assign(void* to, const void* from) { of(to) = of(from); }
};

// Primitive members.
template <class T>
struct Wire : Plain<T> {
  using Plain<T>::of;
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy,
                        FieldSlot& slot) {
    if (tag != Leaf<T>::kTag.word(legacy)) {
      refuseTag(Leaf<T>::kTag, tag, legacy);
    }
    return Leaf<T>::open(slot, &of(row.in(owner)), row.bounds);
  }
  static void write(const Field& row, const void* member, BasicIo& io, bool legacy) {
    Leaf<T>::view(const_cast<T*>(&of(member)), row.bounds).write(io, legacy);
  }
  static constexpr FieldOps kOps{open, write, Wire::equal, Wire::less, Wire::assign};
};

template <class T>
struct Wire<Nullable<T>> : Plain<Nullable<T>> {
  using Plain<Nullable<T>>::of;
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy,
                        FieldSlot& slot) {
    Nullable<T>& member = of(row.in(owner));
    if (tag == BE_NULL.word(legacy)) {
      return slot.emplace<BerNull>(&member);
    }
    if (tag != BE_INTEGER.word(legacy)) {
      refuseTag(BE_INTEGER, tag, legacy);
    }
    return Leaf<T>::open(slot, member.fill(), row.bounds);
  }
  static void write(const Field& row, const void* member, BasicIo& io, bool legacy) {
    if (!of(member).isSet()) {
      BerNull(member).write(io, legacy);
      return;
    }
    T value = of(member).value();
    Leaf<T>::view(&value, row.bounds).write(io, legacy);
  }
  static constexpr FieldOps kOps{open, write, Wire::equal, Wire::less, Wire::assign};
};

// Single nested values: a record, or one of several.
template <class Holder>
struct SingleNest {
  static Holder& of(void* member) { return *static_cast<Holder*>(member); }
  static const Holder& of(const void* member) { return *static_cast<const Holder*>(member); }
  static std::size_t count(const void* member) { return of(member) ? 1 : 0; }
  static const BerValue* at(const void* member, std::size_t) { return of(member).base(); }
  static BerValue* add(void* member, std::unique_ptr<BerValue> value) {
    of(member) = Holder();
    return of(member).slot() = value.release();
  }
  static BerValue*& last(void* member) { return of(member).slot(); }
  static void dropLast(void* member) { of(member) = Holder(); }
  static constexpr Nest kNest{nullptr, count, at, add, last, dropLast};
};

template <class T>
struct Wire<Owned<T>> : SingleNest<Owned<T>> {
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&) {
    if (tag != T::kSchema.tag.word(legacy)) {
      refuseTag(T::kSchema.tag, tag, legacy);
    }
    return &Wire::of(row.in(owner)).emplace();
  }
  static constexpr FieldOps kOps{.open = open, .nest = &Wire::kNest};
};

template <class... Alternatives>
struct Wire<OneOf<Alternatives...>> : SingleNest<OneOf<Alternatives...>> {
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&) {
    std::unique_ptr<BerValue> made = OneOf<Alternatives...>::make(tag, legacy);
    if (made == nullptr) {
      refuseAlternative(owner, row, tag);
    }
    return Wire::add(row.in(owner), std::move(made));
  }
  static std::size_t take(OneOf<Alternatives...>& member, std::span<const std::uint8_t> bytes,
                          bool legacy) requires(std::derived_from<Alternatives, Record>&&...) {
    std::size_t taken = 0;
    const auto attempt = [&]<class T>(std::type_identity<T>) {
      if (bytes.empty() || bytes[0] != identifierOctet(T::kSchema.tag.word(legacy))) {
        return false;
      }
      auto made = std::make_unique<T>();
      taken = takeWhole(*made, bytes, legacy);
      if (taken != 0) {
        member = std::unique_ptr<BerValue>(std::move(made));
      }
      return true;
    };
    (void)(attempt(std::type_identity<Alternatives>()) || ...);
    return taken;
  }
  static constexpr FieldOps kOps{.open = open, .nest = &Wire::kNest};
};

template <class... Alternatives>
struct Wire<OneOfInPlace<Alternatives...>> : Plain<OneOfInPlace<Alternatives...>> {
  using Plain<OneOfInPlace<Alternatives...>>::of;
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&) {
    BerValue* made = of(row.in(owner)).emplace(tag, legacy);
    if (made == nullptr) {
      refuseAlternative(owner, row, tag);
    }
    return made;
  }
  static std::size_t take(OneOfInPlace<Alternatives...>& member, std::span<const std::uint8_t> bytes,
                          bool legacy) {
    std::size_t taken = 0;
    const auto attempt = [&]<class T>(std::type_identity<T>) {
      if (bytes.empty() || bytes[0] != identifierOctet(T::kSchema.tag.word(legacy))) {
        return false;
      }
      taken = takeWhole(member.template emplace<T>(), bytes, legacy);
      return true;
    };
    (void)(attempt(std::type_identity<Alternatives>()) || ...);
    return taken;
  }
  static std::size_t count(const void* member) { return of(member) ? 1 : 0; }
  static const BerValue* at(const void* member, std::size_t) { return of(member).get(); }
  static constexpr Nest kNest{nullptr, count, at, nullptr, nullptr, nullptr};
  static constexpr FieldOps kOps{.open = open, .assign = Wire::assign, .nest = &kNest};
};

template <class L, class T = typename L::value_type>
struct Elements;

// Lists of primitives. < and > compare the size first, then the first elements that differ.
template <class L, class T>
struct Elements : Plain<L> {
  static_assert(!std::is_same_v<T, std::string> || L::kBounds.given, "strings need their limit");
  using Plain<L>::of;
  static BerValue* append(void* container, std::uint32_t tag, bool legacy, FieldSlot& slot) {
    if (tag != Leaf<T>::kTag.word(legacy)) {
      refuseTag(Leaf<T>::kTag, tag, legacy);
    }
    return Leaf<T>::open(slot, &of(container).emplace_back(), L::kBounds);
  }
  static std::size_t takePlain(void* container, std::uint32_t& index, std::span<const std::uint8_t> bytes,
                               bool legacy) {
    const std::uint8_t octet = identifierOctet(Leaf<T>::kTag.word(legacy));
    L& list = of(container);
    std::size_t taken = 0;
    for (;;) {
      const PlainItem item = plainItem(bytes.subspan(taken), octet);
      T element{};
      if (!item.found || !Leaf<T>::take(element, L::kBounds, item.content)) {
        return taken;
      }
      list.push_back(std::move(element));
      taken += kPlainHeader + item.content.size();
      ++index;
    }
  }
  static void write(const void* container, BasicIo& io, bool legacy) {
    writeOpening(io, L::kTag.word(legacy));
    for (const T& element : of(container)) {
      Leaf<T>::view(const_cast<T*>(&element), L::kBounds).write(io, legacy);
    }
    writeEndOfContents(io);
  }
  static bool less(const void* a, const void* b) {
    const L& left = of(a);
    const L& right = of(b);
    return left.size() != right.size() ? left.size() < right.size() : left < right;
  }
  static constexpr ListAccess kAccess{&typeid(L), &L::kTag, append, takePlain, write, Elements::equal, less};
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&) {
    return openList(row.in(owner), kAccess, tag, legacy);
  }
  static void writeField(const Field&, const void* member, BasicIo& io, bool legacy) {
    write(member, io, legacy);
  }
  static constexpr FieldOps kOps{open, writeField, Elements::equal, less, Elements::assign};
};

bool equalLists(const Nest& nest, const void* left, const void* right);
bool lessLists(const Nest& nest, const void* left, const void* right);
void writeList(const Nest& nest, const void* container, BasicIo& io, bool legacy);

// Lists of records. Self says how an element lies in its list.
template <class L, class T, class Self>
struct RecordElements {
  static L& of(void* member) { return *static_cast<L*>(member); }
  static const L& of(const void* member) { return *static_cast<const L*>(member); }
  static std::size_t count(const void* member) { return of(member).size(); }
  static BerValue* append(void* container, std::uint32_t tag, bool legacy, FieldSlot&) {
    if (tag != T::kSchema.tag.word(legacy)) {
      refuseTag(T::kSchema.tag, tag, legacy);
    }
    return Self::grow(of(container));
  }
  static std::size_t takePlain(void* container, std::uint32_t& index, std::span<const std::uint8_t> bytes,
                               bool legacy) {
    if constexpr (!std::same_as<typename L::value_type, T>) {
      return 0;
    } else {
      L& list = of(container);
      std::size_t taken = 0;
      while (taken < bytes.size() && bytes[taken] == identifierOctet(T::kSchema.tag.word(legacy))) {
        const std::size_t size = takeWhole(list.emplace_back(), bytes.subspan(taken), legacy);
        if (size == 0) {
          list.pop_back();
          return taken;
        }
        taken += size;
        ++index;
      }
      return taken;
    }
  }
  static bool equal(const void* a, const void* b) { return equalLists(Self::kNest, a, b); }
  static bool less(const void* a, const void* b) { return lessLists(Self::kNest, a, b); }
  static void write(const void* container, BasicIo& io, bool legacy) {
    writeList(Self::kNest, container, io, legacy);
  }
  static constexpr ListAccess kAccess{&typeid(L), &L::kTag, append, takePlain,
                                      write,      equal,    less,   kHoldsRows<L>};
  static BerValue* open(const Field& row, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&) {
    return openList(row.in(owner), kAccess, tag, legacy);
  }
};

template <class L, class T>
struct Elements<L, Owned<T>> : RecordElements<L, T, Elements<L, Owned<T>>> {
  using Elements::RecordElements::of;
  static BerValue* grow(L& list) { return &list.emplace_back().emplace(); }
  static const BerValue* at(const void* member, std::size_t index) { return of(member)[index].base(); }
  static BerValue* add(void* member, std::unique_ptr<BerValue> value) {
    BerValue*& slot = of(member).emplace_back().slot();
    return slot = value.release();
  }
  static BerValue*& last(void* member) { return of(member).back().slot(); }
  static void dropLast(void* member) { of(member).pop_back(); }
  static constexpr Nest kNest{&L::kTag, Elements::count, at, add, last, dropLast, kHoldsRows<L>};
  static constexpr FieldOps kOps{.open = Elements::open, .nest = &kNest};
};

// Records in place. The last one, which alone can be incomplete, stays where it is until it is complete.
template <class L, std::derived_from<Record> T>
struct Elements<L, T> : RecordElements<L, T, Elements<L, T>> {
  static_assert(std::is_nothrow_move_constructible_v<T>, "elements move when the list grows");
  using Elements::RecordElements::of;
  static BerValue* grow(L& list) { return &list.emplace_back(); }
  static const BerValue* at(const void* member, std::size_t index) { return &of(member)[index]; }
  static void assign(void* to, const void* from) { of(to) = of(from); }
  static constexpr Nest kNest{&L::kTag, Elements::count, at, nullptr, nullptr, nullptr, kHoldsRows<L>};
  static constexpr FieldOps kOps{.open = Elements::open, .assign = assign, .nest = &kNest};
};

template <ListClass L>
struct Wire<L> : Elements<L> {};

// Nested records that can be taken as one.
template <class T>
concept TakenWhole = requires(T& member) {
  Wire<T>::take(member, {}, false);
};

// Where the member of a row lies, and its short ways.
template <auto Member>
struct Access;
template <class R, class M, M R::*kMember>
struct Access<kMember> {
  using Type = M;
  static void* in(const Record& record) { return const_cast<M*>(&(static_cast<const R&>(record).*kMember)); }
  static std::size_t take(const Field& row, Record& owner, std::span<const std::uint8_t> bytes, bool legacy) {
    M& member = static_cast<R&>(owner).*kMember;
    if constexpr (HasShortWay<M>) {
      const PlainItem item = plainItem(bytes, identifierOctet(Leaf<M>::kTag.word(legacy)));
      return item.found && Leaf<M>::take(member, row.bounds, item.content)
                 ? kPlainHeader + item.content.size()
                 : 0;
    } else {
      return Wire<M>::take(member, bytes, legacy);
    }
  }
  static std::uint8_t* put(const Field& row, const Record& owner, std::uint8_t* at, bool legacy) {
    return Leaf<M>::put(at, static_cast<const R&>(owner).*kMember, row.bounds, legacy);
  }
};

// A row of a record's table. A string without a limit does not compile.
template <auto kMember>
consteval Field field(std::string_view name, Bounds bounds = {}) {
  using Type = typename Access<kMember>::Type;
  if (std::is_same_v<Type, std::string> && !bounds.given) {
    throw "a string needs its limit";
  }
  Field row{name, bounds, &Wire<Type>::kOps, &Access<kMember>::in};
  if constexpr (HasShortWay<Type>) {
    row.take = &Access<kMember>::take;
    row.put = &Access<kMember>::put;
  } else if constexpr (TakenWhole<Type>) {
    row.take = &Access<kMember>::take;
  }
  return row;
}

// Takes the fields of a record from the front of bytes; count says how many. Known at compile time, they cost
// no calls through the rows.
template <class T, std::size_t... kIndex>
std::size_t takeRows(T& record, std::span<const std::uint8_t> bytes, bool legacy, std::size_t& count,
                     std::index_sequence<kIndex...>) {
  std::size_t taken = 0;
  [[maybe_unused]] const auto takeRow = [&]<std::size_t kRow>(std::integral_constant<std::size_t, kRow>) {
    constexpr TakeItem kTake = T::kSchema.fields[kRow].take;
    if constexpr (kTake == nullptr) {
      return false;
    } else {
      const std::size_t size = kTake(T::kSchema.fields[kRow], record, bytes.subspan(taken), legacy);
      taken += size;
      count += size != 0 ? 1 : 0;
      return size != 0;
    }
  };
  (void)(takeRow(std::integral_constant<std::size_t, kIndex>()) && ...);
  return taken;
}

template <class T>
std::size_t takeWhole(T& record, std::span<const std::uint8_t> bytes, bool legacy) {
  constexpr std::uint8_t kIndefiniteMark = 0x80;
  constexpr std::size_t kHeader = 2, kEndOfContents = 2;
  if (bytes.size() < kHeader || bytes[0] != identifierOctet(T::kSchema.tag.word(legacy)) ||
      bytes[1] > kIndefiniteMark) {
    return 0;
  }
  const bool indefinite = bytes[1] == kIndefiniteMark;
  const std::size_t length = indefinite ? bytes.size() - kHeader : bytes[1];
  if (bytes.size() - kHeader < length) {
    return 0;
  }
  const std::span<const std::uint8_t> content = bytes.subspan(kHeader, length);
  std::size_t count = 0;
  const std::size_t taken =
      takeRows(record, content, legacy, count, std::make_index_sequence<T::kSchema.fields.size()>());
  const std::span<const std::uint8_t> rest = content.subspan(taken);
  if (count < T::kSchema.required) {
    return 0;
  }
  if (indefinite) {
    const bool ended = rest.size() >= kEndOfContents && rest[0] == 0 && rest[1] == 0;
    return ended ? kHeader + taken + kEndOfContents : 0;
  }
  return rest.empty() ? kHeader + taken : 0;
}

}  // namespace morvex::protocol
