#pragma once

#include <cstdint>
#include <string>

#include "protocol/messages/object_tree.h"

namespace morvex {

// What a command knows about one type of properties.
struct PropertyType {
  std::uint32_t base;  // a tql::BaseType, or tql::kEnumeration for all enumerations
  const char* name;

  // The value as text. Throws errors::tql for a value that does not fit the type word.
  std::string (*valueText)(const protocol::Property& property);

  // Encodes what a text means, under the name and the type word of the property's current copy. Throws
  // error::EParseError for a text that does not convert, error::EFatal for one that an action does not take.
  void (*parse)(protocol::Property& property, const std::string& name, std::uint32_t typeWord,
                const std::string& text);
};

// The type that a type word names; null for one that this program has no texts for.
const PropertyType* findPropertyType(std::uint32_t typeWord);

}  // namespace morvex
