#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "protocol/ber_error.h"
#include "protocol/record.h"

namespace morvex::protocol {

// Makes the object for a message at the top of the stream.
class BerProtocol {
 public:
  virtual ~BerProtocol() = default;
  // Throws EBer for a tag that no message has.
  virtual std::unique_ptr<Record> makeMessage(std::uint32_t tag, bool legacy) const = 0;
};

// A new message of the one class with this tag. Throws EBer if none has it.
template <class... Messages>
std::unique_ptr<Record> makeOneOf(std::uint32_t tag, bool legacy) {
  std::unique_ptr<Record> made;
  const bool found =
      ((Messages::kSchema.tag.word(legacy) == tag && (made = std::make_unique<Messages>()) != nullptr) ||
       ...);
  return found ? std::move(made) : throw EBer("Unknown tag " + std::to_string(tag));
}

// The messages of this protocol. A tag word means the same class in both tag sets.
class guiProtocol final : public BerProtocol {
 public:
  std::unique_ptr<Record> makeMessage(std::uint32_t tag, bool legacy) const override;

  // Without state: one instance serves every reader.
  static const guiProtocol& instance();
};

}  // namespace morvex::protocol
