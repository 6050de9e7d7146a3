#include "protocol/record.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "foundation/assertion.h"
#include "foundation/class_name.h"
#include "platform/traffic.h"
#include "protocol/ber_error.h"
#include "protocol/writer.h"

namespace morvex::protocol {
namespace {

using Pair = std::pair<const Record*, const Record*>;

// Queues the pairs of nested records that decide whether two nests are equal. False if they are seen to
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
    // The last pair decides by itself, even an equal one: records without fields are less than each other.
    if (i + 1 == leftCount || !pair.first->equals(*pair.second)) {
      pairs.push_back(pair);
      return true;
    }
  }
  return false;
}

// A relation between two records, and how it is carried down to their leaves and their nested records.
struct Comparison {
  Relation MemberOps::*leaf;
  bool (*queue)(const Nest&, const void* left, const void* right, std::vector<Pair>&);
};
constexpr Comparison kEqual{&MemberOps::equal, queueEqual};
constexpr Comparison kLess{&MemberOps::less, queueOrdered};

// Whether two records of one class fulfil a relation, apart from the nested records, which are queued.
bool fieldsHold(const Record& left, const Record& right, const Comparison& by, std::vector<Pair>& pairs) {
  return std::ranges::all_of(left.schema().fields, [&](const Field& row) {
    const void* leftMember = row.in(left);
    const void* rightMember = row.in(right);
    return row.ops->nest != nullptr ? by.queue(*row.ops->nest, leftMember, rightMember, pairs)
                                    : (row.ops->*by.leaf)(leftMember, rightMember);
  });
}

// Every pair has to fulfil the relation, in whatever order they are looked at.
bool holds(std::vector<Pair> pairs, const Comparison& by) {
  while (!pairs.empty()) {
    const auto [left, right] = pairs.back();
    pairs.pop_back();
    if (typeid(*left) != typeid(*right) || !fieldsHold(*left, *right, by, pairs)) {
      return false;
    }
  }
  return true;
}

// Writes records without recursion: a frame for each record or list that has been opened and not yet closed.
class WriteWalk {
 public:
  explicit WriteWalk(Writer& writer) : writer_(writer) { frames_.reserve(kUsualDepth); }

  void run(const Record& top) {
    open(top);
    while (!frames_.empty()) {
      if (frames_.back().record != nullptr) {
        stepRecord();
      } else {
        stepList();
      }
    }
  }

 private:
  static constexpr std::size_t kUsualDepth = 16;

  struct Frame {
    const Record* record;
    const Nest* nest;  // a list, if there is no record
    const void* list;
    std::size_t next = 0;  // the field or element
  };

  void open(const Record& record) {
    writer_.open(record.schema().tag);
    frames_.push_back({&record, nullptr, nullptr});
  }

  void close() {
    writer_.close();
    frames_.pop_back();
  }

  void stepRecord() {
    Frame& frame = frames_.back();
    const auto rows = frame.record->schema().fields;
    while (frame.next < rows.size()) {
      const Field& row = rows[frame.next++];
      const void* member = row.in(*frame.record);
      if (row.ops->nest != nullptr) {
        if (row.ops->putWhole != nullptr && row.ops->putWhole(member, writer_)) {
          continue;
        }
        openNest(row, member);  // invalidates frame
        return;
      }
      row.ops->put(member, row.bounds, writer_);
    }
    close();
  }

  void openNest(const Field& row, const void* member) {
    const Nest& nest = *row.ops->nest;
    if (nest.listTag != nullptr) {
      writer_.open(*nest.listTag);
      frames_.push_back({nullptr, &nest, member});
      return;
    }
    if (nest.count(member) == 0) {
      assertionFailed("this->" + std::string(row.name) + " is NULL during BER write");
    }
    open(*nest.at(member, 0));
  }

  void stepList() {
    Frame& frame = frames_.back();
    if (frame.next == frame.nest->count(frame.list)) {
      close();
      return;
    }
    const Record* element = frame.nest->at(frame.list, frame.next++);
    assertThat(element != nullptr, "(*it) is NULL during BER write");
    g_traffic.countRow(&element->schema());
    open(*element);
  }

  Writer& writer_;
  std::vector<Frame> frames_;
};

// Copies a member, and queues the records below it with their blank copies.
void copyNest(const Nest& nest, const void* from, void* to,
              std::vector<std::pair<const Record*, Record*>>& pending) {
  for (std::size_t i = 0; i < nest.count(from); ++i) {
    const Record* record = nest.at(from, i);
    std::unique_ptr<Record> copy = record == nullptr ? nullptr : record->blank();
    if (record != nullptr) {
      pending.emplace_back(record, copy.get());
    }
    nest.add(to, std::move(copy));
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

std::string Record::name() const { return className(typeid(*this)); }

std::unique_ptr<Record> Record::clone() const {
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

bool Record::equals(const Record& other) const { return holds({{this, &other}}, kEqual); }
bool Record::less(const Record& other) const { return holds({{this, &other}}, kLess); }

void Record::write(BasicIo& io, bool legacy) const {
  Writer writer(io, legacy);
  try {
    write(writer);
  } catch (const EBer&) {
    writer.flush();  // the fields ahead of one that is refused reach the stream
    throw;
  }
  writer.flush();
}

void Record::write(Writer& writer) const { WriteWalk(writer).run(*this); }

// The way back up is kept in the slot that a nested record was taken from, as in Schorr and Waite's walk.
void discard(Record* node) noexcept {
  if (node == nullptr) {
    return;
  }
  Record* above = nullptr;
  for (;;) {
    if (const Field* row = firstList(*node)) {
      void* list = row->in(*node);
      Record* inner = row->ops->nest->last(list);
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
    above = std::exchange(row->ops->nest->last(list), nullptr);
    row->ops->nest->dropLast(list);
  }
}

}  // namespace morvex::protocol
