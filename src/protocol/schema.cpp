#include "protocol/schema.h"

#include <algorithm>
#include <array>

#include "foundation/wipe.h"
#include "platform/traffic.h"
#include "protocol/ber_error.h"

namespace morvex::protocol {
namespace {

Record* asRecord(BerValue* value) { return value == nullptr ? nullptr : value->record(); }
const Record* asRecord(const BerValue* value) { return asRecord(const_cast<BerValue*>(value)); }

using Pair = std::pair<const BerValue*, const BerValue*>;

// Queues the pairs of nested values that decide whether two nests are equal. False if they are seen to
// differ.
bool queueEqual(const Nest& nest, const void* left, const void* right, std::vector<Pair>& pairs) {
  const std::size_t count = nest.count(left);
  if (count != nest.count(right)) {
    return false;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const Pair pair{nest.at(left, i), nest.at(right, i)};
    if (pair.first == pair.second) {
      continue;
    }
    if (pair.first == nullptr || pair.second == nullptr) {
      return false;
    }
    pairs.push_back(pair);
  }
  return true;
}

// The same for <: a size or one pair decides, the first that differs.
bool queueOrdered(const Nest& nest, const void* left, const void* right, std::vector<Pair>& pairs) {
  const std::size_t leftCount = nest.count(left);
  const std::size_t rightCount = nest.count(right);
  if (nest.listTag != nullptr && leftCount != rightCount) {
    return leftCount < rightCount;
  }
  for (std::size_t i = 0; i < std::min(leftCount, rightCount); ++i) {
    const Pair pair{nest.at(left, i), nest.at(right, i)};
    if (pair.first == nullptr || pair.second == nullptr) {
      return false;
    }
    // The last pair decides by itself, even an equal one: values without fields are less than each other.
    if (i + 1 == leftCount || !pair.first->equals(*pair.second)) {
      pairs.push_back(pair);
      return true;
    }
  }
  return false;
}

// A relation between two values, and how it is carried down to their leaves and their nested values.
struct Comparison {
  Relation FieldOps::*leaf;
  bool (BerValue::*whole)(const BerValue&) const;
  bool (*queue)(const Nest&, const void* left, const void* right, std::vector<Pair>&);
};
constexpr Comparison kEqual{&FieldOps::equal, &BerValue::equals, queueEqual};
constexpr Comparison kLess{&FieldOps::less, &BerValue::less, queueOrdered};

// Whether two records of one class fulfil a relation, apart from the nested values, which are queued.
bool fieldsHold(const Record& left, const Record& right, const Comparison& by, std::vector<Pair>& pairs) {
  return std::ranges::all_of(left.schema().fields, [&](const Field& row) {
    const void* leftMember = row.in(left);
    const void* rightMember = row.in(right);
    return row.ops->nest != nullptr ? by.queue(*row.ops->nest, leftMember, rightMember, pairs)
                                    : (row.ops->*by.leaf)(leftMember, rightMember);
  });
}

// Every pair has to fulfil the relation, whatever the order in which they are looked at.
bool holds(std::vector<Pair> pairs, const Comparison& by) {
  while (!pairs.empty()) {
    const auto [left, right] = pairs.back();
    pairs.pop_back();
    const Record* record = asRecord(left);
    const bool fulfilled = record == nullptr ? (left->*by.whole)(*right)
                                             : typeid(*left) == typeid(*right) &&
                                                   fieldsHold(*record, *asRecord(right), by, pairs);
    if (!fulfilled) {
      return false;
    }
  }
  return true;
}

// Writes records without recursion: a frame per record or list that has been opened and not yet closed. Small
// items gather in a block of its own, so that the stream is called once for many.
class WriteWalk {
 public:
  WriteWalk(BasicIo& io, bool legacy) : io_(io), legacy_(legacy) { frames_.reserve(kUsualDepth); }
  WriteWalk(const WriteWalk&) = delete;
  WriteWalk& operator=(const WriteWalk&) = delete;
  ~WriteWalk() { wipe(block_.data(), block_.size()); }  // passwords pass through

  void open(const BerValue& value) {
    const Record* record = asRecord(&value);
    if (record == nullptr) {
      flush();
      value.write(io_, legacy_);
      return;
    }
    end_ = putOpening(room(), record->tag(legacy_));
    frames_.push_back({record, 0, nullptr, nullptr, 0});
  }

  void openList(const Nest& nest, const void* list) {
    end_ = putOpening(room(), nest.listTag->word(legacy_));
    frames_.push_back({nullptr, 0, &nest, list, 0});
  }

  void run() {
    while (!frames_.empty()) {
      if (frames_.back().record != nullptr) {
        stepRecord();
      } else {
        stepList();
      }
    }
    flush();
  }

 private:
  static constexpr std::size_t kUsualDepth = 16;
  static constexpr std::size_t kBlock = 1024;

  struct Frame {
    const Record* record;
    std::size_t field;
    const Nest* nest;  // a list, if there is no record
    const void* list;
    std::size_t element;
  };

  void stepRecord() {
    Frame& frame = frames_.back();
    const auto rows = frame.record->schema().fields;
    while (frame.field < rows.size()) {
      const Field& row = rows[frame.field++];
      std::uint8_t* end = row.put == nullptr ? nullptr : row.put(row, *frame.record, room(), legacy_);
      if (end != nullptr) {
        end_ = end;
        continue;
      }
      const void* member = row.in(*frame.record);
      if (row.ops->nest == nullptr) {
        flush();
        row.ops->write(row, member, io_, legacy_);
        continue;
      }
      openNest(row, member);  // invalidates frame
      return;
    }
    close();
  }

  void openNest(const Field& row, const void* member) {
    const Nest& nest = *row.ops->nest;
    if (nest.listTag != nullptr) {
      openList(nest, member);
      return;
    }
    if (nest.count(member) == 0) {
      assertionFailed("this->" + std::string(row.name) + " is NULL during BER write");
    }
    open(*nest.at(member, 0));
  }

  void stepList() {
    Frame& frame = frames_.back();
    if (frame.element == frame.nest->count(frame.list)) {
      close();
      return;
    }
    const BerValue* element = frame.nest->at(frame.list, frame.element++);
    assertThat(element != nullptr, "(*it) is NULL during BER write");
    g_traffic.rows += frame.nest->rows ? 1 : 0;
    open(*element);
  }

  void close() {
    end_ = putEndOfContents(room());
    frames_.pop_back();
  }

  // Where the next item goes: there is room for one.
  std::uint8_t* room() {
    if (static_cast<std::size_t>(block_.data() + block_.size() - end_) < kItemRoom) {
      flush();
    }
    return end_;
  }

  void flush() {
    io_.write(block_.data(), static_cast<std::size_t>(end_ - block_.data()));
    end_ = block_.data();
  }

  BasicIo& io_;
  bool legacy_;
  std::array<std::uint8_t, kBlock> block_;
  std::uint8_t* end_ = block_.data();
  std::vector<Frame> frames_;
};

// Copies one field, and queues the records below it with their blank copies.
void copyNest(const Nest& nest, const void* from, void* to,
              std::vector<std::pair<const Record*, Record*>>& pending) {
  for (std::size_t i = 0; i < nest.count(from); ++i) {
    const BerValue* value = nest.at(from, i);
    if (value == nullptr) {
      nest.add(to, nullptr);
    } else if (const Record* record = asRecord(value)) {
      std::unique_ptr<Record> copy = record->blank();
      pending.emplace_back(record, copy.get());
      nest.add(to, std::move(copy));
    } else {
      nest.add(to, value->clone());
    }
  }
}

// The first list that owns records. Only through such lists can records nest without end.
const Field* firstList(const Record& record) {
  for (const Field& row : record.schema().fields) {
    const Nest* nest = row.ops->nest;
    if (nest != nullptr && nest->listTag != nullptr && nest->last != nullptr &&
        nest->count(row.in(record)) != 0) {
      return &row;
    }
  }
  return nullptr;
}

}  // namespace

std::unique_ptr<BerValue> Record::clone() const {
  std::unique_ptr<Record> top = blank();
  std::vector<std::pair<const Record*, Record*>> pending{{this, top.get()}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    for (const Field& row : from->schema().fields) {
      if (row.ops->assign != nullptr) {
        row.ops->assign(row.in(*to), row.in(*from));
      } else {
        copyNest(*row.ops->nest, row.in(*from), row.in(*to), pending);
      }
    }
  }
  return top;
}

bool Record::equals(const BerValue& other) const { return holds({{this, &other}}, kEqual); }
bool Record::less(const BerValue& other) const { return holds({{this, &other}}, kLess); }

void Record::write(BasicIo& io, bool legacy) const {
  WriteWalk walk(io, legacy);
  walk.open(*this);
  walk.run();
}

BerValue* Record::openField(const Schema& schema, std::uint32_t index, std::uint32_t tag, bool legacy,
                            FieldSlot& slot) {
  const auto rows = schema.fields;
  if (index >= rows.size()) {
    return openSkipper(tag, slot);
  }
  return rows[index].ops->open(rows[index], *this, tag, legacy, slot);
}

std::size_t Record::takePlainFields(const Schema& schema, std::uint32_t& index,
                                    std::span<const std::uint8_t> bytes, bool legacy) {
  const auto rows = schema.fields;
  std::size_t taken = 0;
  while (index < rows.size()) {
    const Field& row = rows[index];
    const std::size_t size = row.take == nullptr ? 0 : row.take(row, *this, bytes.subspan(taken), legacy);
    if (size == 0) {
      break;
    }
    taken += size;
    ++index;
  }
  return taken;
}

bool equalLists(const Nest& nest, const void* left, const void* right) {
  std::vector<Pair> pairs;
  return queueEqual(nest, left, right, pairs) && holds(std::move(pairs), kEqual);
}

bool lessLists(const Nest& nest, const void* left, const void* right) {
  std::vector<Pair> pairs;
  return queueOrdered(nest, left, right, pairs) && holds(std::move(pairs), kLess);
}

void writeList(const Nest& nest, const void* container, BasicIo& io, bool legacy) {
  WriteWalk walk(io, legacy);
  walk.openList(nest, container);
  walk.run();
}

// The way back up is kept in the slot that a nested record was taken from, as in Schorr and Waite's walk.
void discard(BerValue* value) noexcept {
  Record* node = asRecord(value);
  if (node == nullptr) {
    delete value;
    return;
  }
  Record* above = nullptr;
  for (;;) {
    if (const Field* row = firstList(*node)) {
      void* list = row->in(*node);
      Record* inner = asRecord(row->ops->nest->last(list));
      if (inner == nullptr || firstList(*inner) == nullptr) {
        row->ops->nest->dropLast(list);
        continue;
      }
      row->ops->nest->last(list) = above;
      above = std::exchange(node, inner);
      continue;
    }
    Record* emptied = std::exchange(node, above);
    delete emptied;
    if (node == nullptr) {
      return;
    }
    const Field* row = firstList(*node);
    void* list = row->in(*node);
    above = static_cast<Record*>(std::exchange(row->ops->nest->last(list), nullptr));
    row->ops->nest->dropLast(list);
  }
}

void refuseTag(const Tag& wanted, std::uint32_t got, bool legacy) {
  throw EBer("Tag mismatch, got " + std::to_string(got) + " expected " + wanted.nameIn(legacy));
}

void refuseAlternative(const Record& owner, const Field& field, std::uint32_t got) {
  throw EBer("Unexpected tag " + std::to_string(got) + " received in Union " + owner.name() + ".this->" +
             std::string(field.name));
}

ListValue::ListValue(const ListValue& other) : BerConstructed(other), container_(nullptr), access_(nullptr) {
  throw EBer("Copy constructor of " + other.name() + " invoked");
}

bool ListValue::equals(const BerValue& other) const {
  const auto* list = dynamic_cast<const ListValue*>(&other);
  return list != nullptr && list->access_ == access_ && access_->equal(container_, list->container_);
}

bool ListValue::less(const BerValue& other) const {
  const auto* list = dynamic_cast<const ListValue*>(&other);
  return list != nullptr && list->access_ == access_ && access_->less(container_, list->container_);
}

BerValue* ListValue::makeField(std::uint32_t, std::uint32_t tag, bool legacy, FieldSlot& slot) {
  g_traffic.rows += access_->rows ? 1 : 0;
  return access_->append(container_, tag, legacy, slot);
}

std::size_t ListValue::takePlain(std::uint32_t& index, std::span<const std::uint8_t> bytes, bool legacy) {
  const std::uint32_t first = index;
  const std::size_t taken = access_->takePlain(container_, index, bytes, legacy);
  g_traffic.rows += access_->rows ? index - first : 0;
  return taken;
}

BerValue* openList(void* container, const ListAccess& access, std::uint32_t tag, bool legacy) {
  if (tag != access.tag->word(legacy)) {
    refuseTag(*access.tag, tag, legacy);
  }
  return new ListValue(container, access);  // the reader deletes it
}

std::string ListValue::name() const { return className(*access_->type); }

}  // namespace morvex::protocol
