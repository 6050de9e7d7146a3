#include "protocol/tag.h"

namespace morvex::protocol {

std::string Tag::nameIn(bool inLegacy) const {
  std::string text(name);
  if (current != legacy) {
    text += inLegacy ? "_LEGACY" : "_CURRENT";
  }
  return text;
}

}  // namespace morvex::protocol
