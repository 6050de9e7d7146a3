#pragma once

#include <cstdint>
#include <string>

#include "sandbox/answer.h"

namespace morvex::sandbox {

// Writes objects within objects, each as its turn comes: parents ahead of their children.
class ObjectNesting {
 public:
  // Ends the objects that this one, so deep below the first, does not stand in, and begins it, up to its
  // first property.
  void begin(ItemWriter& to, std::uint32_t depth, const std::string& className, std::uint32_t number,
             const std::string& id, const std::string& version);
  // Its properties are written; children may follow.
  void endProperties(ItemWriter& to);
  // Ends what is still open.
  void end(ItemWriter& to) { closeDownTo(to, 0); }

 private:
  void closeDownTo(ItemWriter& to, std::uint32_t depth);

  std::uint32_t open_ = 0;
};

}  // namespace morvex::sandbox
