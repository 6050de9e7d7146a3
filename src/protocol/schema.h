#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "protocol/tag.h"

// The table of a record: one row per field, in the order of the wire. The decoder, the writer, and all that
// compares and copies records walk along these rows.
namespace morvex::protocol {

class Decoder;
class Record;
class Writer;
struct Cursor;
struct Field;
enum class Step;

// The limit of a string, or the range of an integer.
struct Bounds {
  std::int64_t low = 0;
  std::int64_t high = 0;
  bool given = false;
};
consteval Bounds upTo(std::int64_t limit) { return {0, limit, true}; }
consteval Bounds between(std::int64_t low, std::int64_t high) { return {low, high, true}; }

// The records inside a member: those of a list or set, or a single one, which has no tag of its own around
// it.
struct Nest {
  const Tag* listTag;  // null for a single record
  std::size_t (*count)(const void* member);
  const Record* (*at)(const void* member, std::size_t index);
  // Null for records in place, which cannot nest without end and so copy and destroy themselves.
  void (*add)(void* member, std::unique_ptr<Record> record);
  Record*& (*last)(void* member);
  void (*dropLast)(void* member);
};

using Relation = bool (*)(const void* left, const void* right);

// What a member type can do, one constant per type. Members that hold records have a nest in place of put and
// the relations; those that hold them in place have assign as well.
struct MemberOps {
  // Takes the next child of the record that decoder is at. Throws EBer.
  Step (*take)(const Field&, Record& owner, Decoder& decoder);
  // Takes an item that lies whole at the cursor, in the form in which nearly all do. False for any other:
  // then the cursor stays, and a record inside the member is of no more use. Null for members that never come
  // so.
  bool (*takeWhole)(void* member, const Bounds&, Cursor&) = nullptr;
  // For constant expressions, in which not every compiler compares pointers to functions:
  bool comesWhole = false;   // has takeWhole
  bool isPrimitive = false;  // has put as well
  // Throws EBer for a value beyond its bounds.
  void (*put)(const void* member, const Bounds&, Writer&) = nullptr;
  Relation equal = nullptr;
  Relation less = nullptr;
  void (*assign)(void* to, const void* from) = nullptr;
  const Nest* nest = nullptr;
  // Writes the record in the member at once. False for one that has to be walked. Null if all have to be.
  bool (*putWhole)(const void* member, Writer&) = nullptr;
};

struct Field {
  std::string_view name;
  Bounds bounds;
  const MemberOps* ops;
  void* (*in)(const Record&);  // where the member lies in its record
};

struct Schema {
  Tag tag;
  std::span<const Field> fields = {};
  std::size_t required = fields.size();  // how many leading fields must arrive
};

}  // namespace morvex::protocol
