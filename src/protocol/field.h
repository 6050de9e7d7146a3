#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "foundation/class_name.h"
#include "platform/traffic.h"
#include "protocol/decoder.h"
#include "protocol/leaf.h"
#include "protocol/members.h"
#include "protocol/owned.h"
#include "protocol/record.h"

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
// The member's type decides what travels:
//   bool, double, BigNum, the four integers     BOOLEAN, REAL, INTEGER; integers may have bounds
//   std::string                                 a string, with its limit
//   an enum class over std::int32_t             ENUMERATED
//   Nullable<T>                                 an integer or a NULL
//   PlainValue                                  one of four primitives
//   a class derived from ListOf or SetOf        the list class of that name
//   Owned<Record>                               that record
//   OneOf<...>, OneOfInPlace<...>               one of these classes, told apart by tag
// Writing, reading, comparing, copying and the texts of refusals follow from the rows.
namespace morvex::protocol {

// ---- Records that lie whole in the input ----

// Whether each field of a record can be taken whole.
template <class T>
consteval bool comesWhole() {
  return std::ranges::all_of(T::kSchema.fields, [](const Field& row) { return row.ops->comesWhole; });
}

template <class T>
inline bool beginsAt(const Cursor& in) {
  return in.room() >= 2 && in.at[0] == identifierOctet(T::kSchema.tag.word(in.legacy)) && in.at[1] == 0x80;
}

// Calls visit with the number of each row, as a constant, until one gives false. All rows are known to the
// compiler, so that none costs a call.
template <class T, class Visit>
void unrollRows(Visit visit) {
  [&]<std::size_t... kRows>(std::index_sequence<kRows...>) {
    (void)(visit(std::integral_constant<std::size_t, kRows>()) && ...);
  }
  (std::make_index_sequence<T::kSchema.fields.size()>());
}

// Takes a record that lies whole at the cursor, in the indefinite form and without unknown fields. False for
// any other: then the cursor stays, and the record is of no more use.
template <class T>
bool takeWhole(T& record, Cursor& in) {
  if (!beginsAt<T>(in)) {
    return false;
  }
  Cursor ahead = in;
  ahead.at += 2;
  std::size_t count = 0;
  unrollRows<T>([&]<std::size_t kRow>(std::integral_constant<std::size_t, kRow>) {
    constexpr const Field& kField = T::kSchema.fields[kRow];
    constexpr auto kTake = kField.ops->takeWhole;
    const bool taken = kTake(kField.in(record), kField.bounds, ahead);
    count += taken ? 1 : 0;
    return taken;
  });
  if (count < T::kSchema.required || ahead.room() < 2 || ahead.at[0] != 0 || ahead.at[1] != 0) {
    return false;
  }
  in.at = ahead.at + 2;
  return true;
}

// ---- Records of primitives alone, which are written at once ----

template <class T>
consteval bool isFlat() {
  return std::ranges::all_of(T::kSchema.fields, [](const Field& row) { return row.ops->isPrimitive; });
}

template <class T>
void putWhole(const T& record, Writer& writer) {
  writer.open(T::kSchema.tag);
  unrollRows<T>([&]<std::size_t kRow>(std::integral_constant<std::size_t, kRow>) {
    constexpr const Field& kField = T::kSchema.fields[kRow];
    constexpr auto kPut = kField.ops->put;
    kPut(kField.in(record), kField.bounds, writer);
    return true;
  });
  writer.close();
}

// ---- What each member type does ----

// Types that compare and copy by themselves.
template <class T>
struct SelfContained {
  static const T& of(const void* member) { return *static_cast<const T*>(member); }
  static T& of(void* member) { return *static_cast<T*>(member); }
  static bool equal(const void* a, const void* b) { return of(a) == of(b); }
  static bool less(const void* a, const void* b) { return of(a) < of(b); }
  static void assign(void* to, const void* from) { of(to) = of(from); }
};

// The primitives.
template <class T>
struct Wire : SelfContained<T> {
  using SelfContained<T>::of;
  static Step take(const Field& row, Record& owner, Decoder& decoder) {
    return decoder.take<T>(row.bounds, [&]() -> T& { return of(row.in(owner)); });
  }
  [[gnu::always_inline]] static bool takeWhole(void* member, const Bounds& bounds, Cursor& in) {
    return takeShort<T>(bounds, in, [&]() -> T& { return of(member); });
  }
  static void put(const void* member, const Bounds& bounds, Writer& writer) {
    Leaf<T>::put(of(member), bounds, writer);
  }
  static constexpr MemberOps kOps{take, takeWhole, true, true, put, Wire::equal, Wire::less, Wire::assign};
};

template <class T>
struct Wire<Nullable<T>> : SelfContained<Nullable<T>> {
  using SelfContained<Nullable<T>>::of;
  static Step take(const Field& row, Record& owner, Decoder& decoder) {
    const Step step = decoder.header();
    if (step != Step::taken) {
      return step;
    }
    if (decoder.tag() == BE_NULL.word(decoder.legacy())) {
      Null null;
      return decoder.takeContent<Null>({}, [&]() -> Null& { return null; });
    }
    return decoder.takeContent<T>(row.bounds, [&]() -> T& { return of(row.in(owner)).fill(); });
  }
  static void put(const void* member, const Bounds& bounds, Writer& writer) {
    if (of(member).isSet()) {
      Leaf<T>::put(of(member).value(), bounds, writer);
    } else {
      Leaf<Null>::put({}, bounds, writer);
    }
  }
  static constexpr MemberOps kOps{
      .take = take, .put = put, .equal = Wire::equal, .less = Wire::less, .assign = Wire::assign};
};

template <>
struct Wire<PlainValue> : SelfContained<PlainValue> {
  static Step take(const Field& row, Record& owner, Decoder& decoder);
  static void put(const void* member, const Bounds& bounds, Writer& writer);
  static constexpr MemberOps kOps{.take = take, .put = put, .equal = equal, .less = less, .assign = assign};
};

// A single record by pointer.
template <class Holder>
struct SingleNest {
  static Holder& of(void* member) { return *static_cast<Holder*>(member); }
  static const Holder& of(const void* member) { return *static_cast<const Holder*>(member); }
  static std::size_t count(const void* member) { return of(member) ? 1 : 0; }
  static const Record* at(const void* member, std::size_t) { return of(member).base(); }
  static void add(void* member, std::unique_ptr<Record> record) {
    of(member) = Holder();
    of(member).slot() = record.release();
  }
  static Record*& last(void* member) { return of(member).slot(); }
  static void dropLast(void* member) { of(member) = Holder(); }
  static constexpr Nest kNest{nullptr, count, at, add, last, dropLast};
};

template <class T>
struct Wire<Owned<T>> : SingleNest<Owned<T>> {
  static Step take(const Field& row, Record& owner, Decoder& decoder) {
    const Step step = decoder.header();
    if (step != Step::taken) {
      return step;
    }
    decoder.expectTag(T::kSchema.tag);
    return decoder.open(Wire::of(row.in(owner)).emplace());
  }
  static constexpr MemberOps kOps{.take = take, .nest = &Wire::kNest};
};

// One of several records, in a holder that makes them by emplace<T>().
template <class Holder, class... Alternatives>
struct Choice {
  static bool takeWhole(void* member, const Bounds&, Cursor& in) {
    bool taken = false;
    const auto attempt = [&]<class T>(std::type_identity<T>) {
      if constexpr (comesWhole<T>()) {
        if (beginsAt<T>(in)) {
          taken = protocol::takeWhole(static_cast<Holder*>(member)->template emplace<T>(), in);
          return true;
        }
      }
      return false;
    };
    (void)(attempt(std::type_identity<Alternatives>()) || ...);
    return taken;
  }
  static Step take(const Field& row, Record& owner, Decoder& decoder) {
    void* member = row.in(owner);
    if (Cursor ahead = decoder.cursor(); takeWhole(member, {}, ahead)) {
      return decoder.takeTo(ahead);
    }
    const Step step = decoder.header();
    if (step != Step::taken) {
      return step;
    }
    Record* made = nullptr;
    const auto attempt = [&]<class T>(std::type_identity<T>) {
      if (T::kSchema.tag.word(decoder.legacy()) == decoder.tag()) {
        made = &static_cast<Holder*>(member)->template emplace<T>();
      }
      return made != nullptr;
    };
    if (!(attempt(std::type_identity<Alternatives>()) || ...)) {
      decoder.refuseAlternative(owner, row);
    }
    return decoder.open(*made);
  }
};

template <class... Alternatives>
struct Wire<OneOf<Alternatives...>> : SingleNest<OneOf<Alternatives...>>,
                                      Choice<OneOf<Alternatives...>, Alternatives...> {
  static constexpr MemberOps kOps{
      .take = Wire::take, .takeWhole = Wire::takeWhole, .comesWhole = true, .nest = &Wire::kNest};
};

template <class... Alternatives>
struct Wire<OneOfInPlace<Alternatives...>> : SelfContained<OneOfInPlace<Alternatives...>>,
                                             Choice<OneOfInPlace<Alternatives...>, Alternatives...> {
  using SelfContained<OneOfInPlace<Alternatives...>>::of;
  static std::size_t count(const void* member) { return of(member) ? 1 : 0; }
  static const Record* at(const void* member, std::size_t) { return of(member).get(); }
  static bool putWhole(const void* member, Writer& writer) {
    const auto& holder = of(member);
    const auto attempt = [&]<class T>(std::type_identity<T>) {
      if constexpr (isFlat<T>()) {
        if (const T* held = holder.template as<T>()) {
          protocol::putWhole(*held, writer);
          return true;
        }
      }
      return false;
    };
    return (attempt(std::type_identity<Alternatives>()) || ...);
  }
  static constexpr Nest kNest{nullptr, count, at, nullptr, nullptr, nullptr};
  static constexpr MemberOps kOps{.take = Wire::take,
                                  .takeWhole = Wire::takeWhole,
                                  .comesWhole = true,
                                  .assign = Wire::assign,
                                  .nest = &kNest,
                                  .putWhole = putWhole};
};

// ---- Lists and sets ----

// What all of them do behind their own header.
template <class L, class Elements>
struct ListChildren {
  static constexpr Children kChildren{Elements::takeElements,
                                      [](const void*) { return className(typeid(L)); }};
  static Step take(const Field& row, Record& owner, Decoder& decoder) {
    const Step step = decoder.header();
    if (step != Step::taken) {
      return step;
    }
    decoder.expectTag(L::kTag);
    return decoder.open(kChildren, row.in(owner));
  }
};

template <class L, class T = typename L::value_type>
struct Elements;

// Of primitives. < compares the size first, then the first elements that differ.
template <class L, class T>
struct Elements : SelfContained<L>, ListChildren<L, Elements<L, T>> {
  static_assert(!std::is_same_v<T, std::string> || L::kBounds.given, "strings need their limit");
  using SelfContained<L>::of;
  static Step takeElements(Decoder& decoder, Frame& frame) {
    L& list = of(frame.value);
    Step step = Step::taken;
    while (step == Step::taken) {
      step = decoder.take<T>(L::kBounds, [&]() -> T& { return list.emplace_back(); });
    }
    return step;
  }
  static void put(const void* member, const Bounds&, Writer& writer) {
    writer.open(L::kTag);
    for (const T& element : of(member)) {
      Leaf<T>::put(element, L::kBounds, writer);
    }
    writer.close();
  }
  static bool less(const void* a, const void* b) {
    const L& left = of(a);
    const L& right = of(b);
    return left.size() != right.size() ? left.size() < right.size() : left < right;
  }
  static constexpr MemberOps kOps{
      .take = Elements::take, .put = put, .equal = Elements::equal, .less = less, .assign = Elements::assign};
};

// Of records by pointer.
template <class L, class T>
struct Elements<L, Owned<T>> : ListChildren<L, Elements<L, Owned<T>>> {
  static L& of(void* member) { return *static_cast<L*>(member); }
  static const L& of(const void* member) { return *static_cast<const L*>(member); }
  static Step takeElements(Decoder& decoder, Frame& frame) {
    const Step step = decoder.header();
    if (step != Step::taken) {
      return step;
    }
    decoder.expectTag(T::kSchema.tag);
    g_traffic.countRow(&T::kSchema);
    return decoder.open(of(frame.value).emplace_back().emplace());
  }
  static std::size_t count(const void* member) { return of(member).size(); }
  static const Record* at(const void* member, std::size_t index) { return of(member)[index].base(); }
  static void add(void* member, std::unique_ptr<Record> record) {
    of(member).emplace_back().slot() = record.release();
  }
  static Record*& last(void* member) { return of(member).back().slot(); }
  static void dropLast(void* member) { of(member).pop_back(); }
  static constexpr Nest kNest{&L::kTag, count, at, add, last, dropLast};
  static constexpr MemberOps kOps{.take = Elements::take, .nest = &kNest};
};

// Of records in place. The last one, which alone can be incomplete, stays where it is until it is complete.
template <class L, std::derived_from<Record> T>
struct Elements<L, T> : SelfContained<L>, ListChildren<L, Elements<L, T>> {
  static_assert(std::is_nothrow_move_constructible_v<T>, "elements move when the list grows");
  using SelfContained<L>::of;
  static Step takeElements(Decoder& decoder, Frame& frame) {
    L& list = of(frame.value);
    for (;;) {
      if constexpr (comesWhole<T>()) {
        if (Cursor ahead = decoder.cursor(); beginsAt<T>(ahead)) {
          if (protocol::takeWhole(list.emplace_back(), ahead)) {
            g_traffic.countRow(&T::kSchema);
            decoder.takeTo(ahead);
            continue;
          }
          list.pop_back();
        }
      }
      const Step step = decoder.header();
      if (step != Step::taken) {
        return step;
      }
      decoder.expectTag(T::kSchema.tag);
      g_traffic.countRow(&T::kSchema);
      return decoder.open(list.emplace_back());
    }
  }
  static std::size_t count(const void* member) { return of(member).size(); }
  static const Record* at(const void* member, std::size_t index) { return &of(member)[index]; }
  static constexpr Nest kNest{&L::kTag, count, at, nullptr, nullptr, nullptr};
  static constexpr MemberOps kOps{.take = Elements::take, .assign = Elements::assign, .nest = &kNest};
};

template <ListClass L>
struct Wire<L> : Elements<L> {};

// ---- Rows ----

template <auto Member>
struct Access;
template <class R, class M, M R::*kMember>
struct Access<kMember> {
  using Type = M;
  static void* in(const Record& record) { return const_cast<M*>(&(static_cast<const R&>(record).*kMember)); }
};

// A row of a record's table. A string without a limit does not compile.
template <auto kMember>
consteval Field field(std::string_view name, Bounds bounds = {}) {
  using Type = typename Access<kMember>::Type;
  if (std::is_same_v<Type, std::string> && !bounds.given) {
    throw "a string needs its limit";
  }
  return {name, bounds, &Wire<Type>::kOps, &Access<kMember>::in};
}

}  // namespace morvex::protocol
