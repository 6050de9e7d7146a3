#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>

#include "protocol/basic_io.h"
#include "protocol/schema.h"

namespace morvex::protocol {

// A message, or a part of one with fields of its own. None of its functions recurses into nested records:
// their depth is the sender's choice.
class Record {
 public:
  virtual ~Record() = default;
  virtual const Schema& schema() const = 0;
  // A new record of the same class.
  virtual std::unique_ptr<Record> blank() const = 0;

  // The class name, for messages.
  std::string name() const;

  std::unique_ptr<Record> clone() const;

  // Writes the whole item; the caller flushes. Throws EBer for a value beyond its bounds, and what the stream
  // throws.
  void write(BasicIo& io, bool legacy) const;
  void write(Writer& writer) const;

  // Behind == and <. False if the other is not of the same class.
  bool equals(const Record& other) const;
  bool less(const Record& other) const;

 protected:
  Record() = default;
  Record(const Record&) = default;
  Record& operator=(const Record&) = default;
};

inline bool operator==(const Record& left, const Record& right) { return left.equals(right); }
// No ordering: every field has to be less, or greater.
inline bool operator<(const Record& left, const Record& right) { return left.less(right); }
inline bool operator>(const Record& left, const Record& right) {
  return typeid(left) == typeid(right) && right.less(left);
}

// Deletes a record and all that is below it, however deep: neither the stack nor the heap grows.
void discard(Record* record) noexcept;

// The base of every record: struct CreateResp final : Message<CreateResp>.
template <class T>
struct Message : Record {
  using Self = T;
  const Schema& schema() const final { return T::kSchema; }
  std::unique_ptr<Record> blank() const final { return std::make_unique<T>(); }
};

}  // namespace morvex::protocol
