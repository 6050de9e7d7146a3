#pragma once

#include <string>
#include <vector>

#include "foundation/class_name.h"
#include "foundation/text.h"
#include "protocol/messages/object_tree.h"
#include "support/wire.h"

namespace morvex {

// Constants and patterns as one line of text.

// "6:String x": type word, class and value.
inline std::string dumpConstant(const protocol::Property& property) {
  const auto& data = property.data;
  const protocol::Record& value = *data;
  const std::string kind = className(typeid(value));
  std::string text = uintToString(property.typeWord) + ":" + kind.substr(0, kind.size() - 4);  // less "Prop"
  if (const auto* string = data.as<protocol::StringProp>()) {
    text.append(" ").append(string->value);
  } else if (const auto* list = data.as<protocol::StringListProp>()) {
    for (const std::string& element : list->value) {
      text.append(" ").append(quotedString(element));
    }
  } else if (const auto* number = data.as<protocol::SignedIntProp>()) {
    text.append(" ").append(intToString(number->value));
  } else if (const auto* natural = data.as<protocol::UnsignedIntProp>()) {
    text.append(" ").append(uintToString(natural->value));
  } else if (const auto* boolean = data.as<protocol::BooleanProp>()) {
    text += boolean->value ? " true" : " false";
  } else if (const auto* big = data.as<protocol::BigNumProp>()) {
    std::vector<std::uint8_t> bytes(big->value.dataCapacity());
    std::size_t length = bytes.size();
    big->value.bn_get_data(bytes.data(), length);
    text.append(" ").append(hexOf({bytes.data(), length}));
  }
  return text;
}

// "Node/flags =number [name name] {op name constant & op name constant} > (step | step : step)"
inline std::string dump(const protocol::PathPattern& step) {
  const auto joined = [](const auto& rows, const char* between, auto textOfRow) {
    std::string text;
    for (const auto& row : rows) {
      text.append(text.empty() ? "" : between).append(textOfRow(row));
    }
    return text;
  };
  const auto name = [](const std::string& text) { return text; };
  const auto term = [](const auto& row) {
    return intToString(static_cast<std::int32_t>(row->op)) + " " + row->prop->name + " " +
           dumpConstant(*row->prop);
  };
  const auto next = [](const auto& row) { return dump(*row); };
  const auto part = [](const char* open, const std::string& text, const char* close) {
    return text.empty() ? text : open + text + close;
  };
  const auto colon = part(" : ", joined(step.colonChildren, " | ", next), "");
  return step.className + part("/", step.flags == 0 ? "" : uintToString(step.flags), "") +
         part(" =", step.number.isSet() ? uintToString(step.number.value()) : "", "") +
         part(" [", joined(step.properties, " ", name), "]") +
         part(" {", joined(step.filter, " & ", term), "}") +
         part(" > (", joined(step.children, " | ", next) + colon, ")");
}

}  // namespace morvex
