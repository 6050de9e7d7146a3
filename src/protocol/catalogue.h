#pragma once

#include <cstdint>
#include <memory>

#include "protocol/record.h"

namespace morvex::protocol {

// Makes the object for a message at the top of the stream.
class BerProtocol {
 public:
  virtual ~BerProtocol() = default;
  // Throws EBer for a tag that no message has.
  virtual std::unique_ptr<Record> makeMessage(std::uint32_t tag, bool legacy) const = 0;
};

// The messages of this protocol. A tag word means the same class in both tag sets.
class guiProtocol final : public BerProtocol {
 public:
  std::unique_ptr<Record> makeMessage(std::uint32_t tag, bool legacy) const override;

  // Without state: one instance serves every reader.
  static const guiProtocol& instance();
};

}  // namespace morvex::protocol
