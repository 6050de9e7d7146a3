#include "commands/property_value.h"

#include "commands/property_text.h"
#include "commands/property_types.h"
#include "foundation/text.h"
#include "platform/output.h"
#include "query/tql/property_codec.h"

namespace morvex {

bool parsePropertyValue(const protocol::Property& current, protocol::Property& changed,
                        const std::string& text) {
  if (text == "null" || text == "NULL") {
    tql::encodeNull(changed, current.name, current.typeWord);
  } else if (text == "inherited" || text == "INHERITED") {
    tql::encodeNull(changed, current.name, current.typeWord | tql::kInherited);
  } else if (const PropertyType* type = findPropertyType(current.typeWord); type != nullptr) {
    type->parse(changed, current.name, current.typeWord, text);
  } else {
    standardOutput().write("Error unknown type" + uintToString(current.typeWord & tql::kBaseMask));
    standardOutput().endLine();
    return false;
  }
  return propertyText(changed) != propertyText(current);
}

}  // namespace morvex
