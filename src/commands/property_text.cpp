#include "commands/property_text.h"

#include "commands/property_types.h"
#include "foundation/text.h"
#include "query/tql/property_codec.h"

namespace morvex {

namespace {

struct Flag {
  std::uint32_t bit;
  const char* before;
  const char* behind;
};

// Only the first that is set is told.
constexpr Flag kFlags[] = {
    {tql::kConst, "Const ", ""},
    {tql::kNullAllowed, "", ", NULL allowed"},
    {tql::kComputed, "", ", Computed"},
    {tql::kReadOnly, "", ", Read Only"},
    {tql::kPrimaryKey, "", ", Primary Key"},
};

std::string typeWordText(const protocol::Property& property) {
  return intToString(static_cast<std::int32_t>(property.typeWord));
}

std::string baseTypeText(const protocol::Property& property) {
  const PropertyType* type = findPropertyType(property.typeWord);
  return type != nullptr ? type->name : "(Unknown type: " + typeWordText(property) + ")";
}

}  // namespace

std::string propertyText(const protocol::Property& property) {
  if (property.data.as<protocol::NullProp>() != nullptr) {
    return "(NULL)";
  }
  const PropertyType* type = findPropertyType(property.typeWord);
  return type != nullptr ? type->valueText(property) : "(Unknown type)" + typeWordText(property);
}

std::string propertyTypeText(const protocol::Property& property) {
  for (const Flag& flag : kFlags) {
    if ((property.typeWord & flag.bit) != 0) {
      return flag.before + baseTypeText(property) + flag.behind;
    }
  }
  return baseTypeText(property);
}

void writeProperties(Output& output, const tqlquery::Result& object, bool showTypes, bool allProperties,
                     const std::set<std::string>& wanted) {
  const auto isWanted = [&](const std::string& name) { return allProperties || wanted.count(name) != 0; };
  std::string line;  // built whole before it goes out: a bad value leaves no partial line
  const auto print = [&](const std::string& name, const std::string& value, const std::string& type) {
    line.assign(name).append("=").append(value);
    if (showTypes) {
      line.append(" (").append(type).append(")");
    }
    output.write(line);
    output.endLine();
  };
  const auto printOwn = [&](const char* name, const std::string& value, const char* type) {
    if (isWanted(name)) {
      print(name, value, type);
    }
  };
  printOwn("id", object.id, "Const Id");
  printOwn("class", object.className, "Const Class Type");
  printOwn("version", object.version, "Version String, Read Only");
  for (const auto& [name, property] : tqlquery::byName(object.properties)) {
    if (isWanted(property->name)) {
      print(property->name, propertyText(*property), showTypes ? propertyTypeText(*property) : std::string());
    }
  }
}

}  // namespace morvex
