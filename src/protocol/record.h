#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "protocol/ber_value.h"
#include "protocol/tag.h"

// Records, the messages of the protocol and what they are made of, and their tables: what schema.h fills in
// for each type of member, and schema.cpp walks along.
namespace morvex::protocol {

class Record;
struct Field;

// The limit of a string, or the range of an integer.
struct Bounds {
  std::int64_t low = 0;
  std::int64_t high = 0;
  bool given = false;
};
consteval Bounds upTo(std::int64_t limit) { return {0, limit, true}; }
consteval Bounds between(std::int64_t low, std::int64_t high) { return {low, high, true}; }

// A list or set of records as the walks over a message see it; also a single nested value, which has no tag
// of its own around it.
struct Nest {
  const Tag* listTag;  // null for a single value
  std::size_t (*count)(const void* member);
  const BerValue* (*at)(const void* member, std::size_t index);
  // Null for values in place, which cannot nest without end and so copy and destroy themselves.
  BerValue* (*add)(void* member, std::unique_ptr<BerValue> value);
  BerValue*& (*last)(void* member);
  void (*dropLast)(void* member);
  bool rows = false;  // its elements count as rows
};

using Relation = bool (*)(const void* left, const void* right);

// What a member type can do, one constant per type.
struct FieldOps {
  // Returns the value that takes a child with this tag, or refuses it.
  BerValue* (*open)(const Field&, const Record& owner, std::uint32_t tag, bool legacy, FieldSlot&);
  // Members that hold records bring a nest instead of the four others, and the walks do the work. Those that
  // hold them in place have both a nest and assign.
  void (*write)(const Field&, const void* member, BasicIo&, bool legacy) = nullptr;
  Relation equal = nullptr;
  Relation less = nullptr;
  void (*assign)(void* to, const void* from) = nullptr;
  const Nest* nest = nullptr;
};

// Takes the item at the front of bytes into its member, if it is whole and plain, and returns its size. 0
// leaves it, and what is wrong with it, to open.
using TakeItem = std::size_t (*)(const Field&, Record& owner, std::span<const std::uint8_t> bytes,
                                 bool legacy);

// Puts the item of a member into room of kItemRoom bytes and returns its end. Null leaves it, and what is
// wrong with it, to write.
using PutPlain = std::uint8_t* (*)(const Field&, const Record& owner, std::uint8_t* at, bool legacy);

struct Field {
  std::string_view name;
  Bounds bounds;
  const FieldOps* ops;
  void* (*in)(const Record&);  // where the member lies in its record
  TakeItem take = nullptr;     // these two where there is a short way
  PutPlain put = nullptr;
};

struct Schema {
  Tag tag;
  std::span<const Field> fields = {};
  std::size_t required = fields.size();  // how many leading fields must arrive
};

class Record : public BerConstructed {
 public:
  Record* record() final { return this; }
  virtual const Schema& schema() const = 0;
  // A new record of the same class.
  virtual std::unique_ptr<Record> blank() const = 0;

  std::unique_ptr<BerValue> clone() const final;
  bool equals(const BerValue& other) const final;
  bool less(const BerValue& other) const final;
  void write(BasicIo& io, bool legacy) const final;
  bool readerOwned() const final { return false; }

 protected:
  BerValue* openField(const Schema& schema, std::uint32_t index, std::uint32_t tag, bool legacy,
                      FieldSlot& slot);
  std::size_t takePlainFields(const Schema& schema, std::uint32_t& index, std::span<const std::uint8_t> bytes,
                              bool legacy);
};

// What the reader asks a record for each time costs one virtual call: there the schema is known. The
// functions are compiled for all messages in catalogue.cpp, so that no other unit generates code for the
// tables of those it uses.
template <class T>
struct Message : Record {
  using Self = T;
  static const Tag& wireTag();
  const Schema& schema() const final;
  std::unique_ptr<Record> blank() const final;
  std::uint32_t tag(bool legacy) const final;
  BerValue* makeField(std::uint32_t index, std::uint32_t tag, bool legacy, FieldSlot& slot) final;
  std::size_t takePlain(std::uint32_t& index, std::span<const std::uint8_t> bytes, bool legacy) final;
  std::uint32_t minFields() const final;
};

}  // namespace morvex::protocol
