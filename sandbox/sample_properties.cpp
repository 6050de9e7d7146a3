#include "sandbox/sample_properties.h"

#include <cstdint>
#include <list>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/big_num.h"
#include "foundation/text.h"
#include "query/tql/property_codec.h"

namespace morvex::sandbox {
namespace {

constexpr std::size_t kLargeTextBytes = 60;

constexpr std::uint32_t kStatusWarning = 12;
constexpr std::uint32_t kNotifyAsAlert = 2;
constexpr std::uint32_t kReportGraph = 4;
constexpr std::uint32_t kNodeTypeCheck = 3;

std::vector<std::uint8_t> bytes(std::string_view text) { return {text.begin(), text.end()}; }

template <class Value>
void add(PropertyList& properties, const std::string& name, std::uint32_t typeWord, Value&& value) {
  tql::encode(properties.emplace_back(), name, typeWord, std::forward<Value>(value));
}

void addNull(PropertyList& properties, const std::string& name, std::uint32_t typeWord) {
  tql::encodeNull(properties.emplace_back(), name, typeWord);
}

// The codec leaves the two 64-bit types to the server.
template <class Prop, class Value>
void add64(PropertyList& properties, const std::string& name, std::uint32_t typeWord, Value value) {
  protocol::Property& property = properties.emplace_back();
  property.name = name;
  property.typeWord = typeWord;
  property.data.emplace<Prop>().value = value;
}

void addNumbers(PropertyList& to) {
  BigNum big;
  big.fromHex("0123456789abcdef0123456789abcdef");
  add(to, "retries", tql::kUnsignedInteger, std::uint32_t{4294967295U});
  add(to, "offset", tql::kSignedInteger | tql::kComputed | tql::kReadOnly, std::int32_t{-42});
  add(to, "threshold", tql::kReal | tql::kNullAllowed, 0.75);
  add(to, "created", tql::kDate | tql::kReadOnly, std::int32_t{1048548303});
  add(to, "seriesIndex", tql::kIndex | tql::kConst, std::uint32_t{1017});
  add(to, "gid", tql::kGid, std::uint32_t{0x0A0B0C0D});
  add64<protocol::UnsignedInt64Prop>(to, "octets", tql::kUnsigned64 | tql::kComputed, ~std::uint64_t{0});
  add64<protocol::SignedInt64Prop>(to, "balance", tql::kSigned64, std::int64_t{-9007199254740993});
  add(to, "serialNumber", tql::kBigNum | tql::kConst | tql::kPrimaryKey, big);
  add(to, "status", tql::kStatusEnumeration | tql::kComputed, kStatusWarning);
  add(to, "notify", tql::kNotifyEnumeration, kNotifyAsAlert);
  add(to, "reportFormat", tql::kReportEnumeration | tql::kNullAllowed, kReportGraph);
  add(to, "nodeReportType", tql::kNodeTypeEnumeration | tql::kConst, kNodeTypeCheck);
}

void addTexts(PropertyList& to) {
  using Texts = std::list<std::string>;
  add(to, "comment", tql::kString | tql::kNullAllowed,
      std::string("First line\nsecond \"quoted\" line\twith a tab and a \\ and Größe"));
  add(to, "contactId", tql::kId | tql::kNullAllowed, std::string("2A"));
  add(to, "dependencies", tql::kIdSet, Texts{"2", "A", "1F"});
  add(to, "noDependencies", tql::kIdSet, Texts{});
  add(to, "aliases", tql::kStringList, Texts{"alpha", "be\"ta", "gamma, delta", "Ωmega"});
  add(to, "noAliases", tql::kStringList, Texts{});
  add(to, "oid", tql::kSnmpOid, std::string("1.3.6.1.2.1.1.3.0"));
  add(to, "icon", tql::kBlob, bytes({"\x89PNG\r\n\x1a\n\0\xff", 10}));
  add(to, "picture", tql::kLob, bytes(std::string(5000, 'p')));
  add(to, "gidList", tql::kGidList, std::vector<std::uint32_t>{0x7F000001, 0, 0xFFFFFFFF});
  addNull(to, "reset", tql::kAction);
}

}  // namespace

PropertyList named(const std::string& siblingName, const std::string& longLabel) {
  PropertyList properties;
  add(properties, "siblingName", tql::kString, siblingName);
  add(properties, "longLabel", tql::kString, longLabel);
  add(properties, "active", tql::kBoolean, true);
  return properties;
}

void addLargeValues(PropertyList& properties, std::size_t lobBytes, std::size_t listLength) {
  std::list<std::string> ids, texts;
  std::vector<std::uint32_t> gids;
  for (std::uint32_t number = 0; number < listLength; ++number) {
    ids.push_back(hexToString(number, 8));
    texts.push_back("No. " + hexToString(number, 8));
    texts.back().resize(kLargeTextBytes, '.');
    gids.push_back(number);
  }
  add(properties, "dependencies", tql::kIdSet, std::move(ids));
  add(properties, "aliases", tql::kStringList, std::move(texts));
  add(properties, "gidList", tql::kGidList, std::move(gids));
  add(properties, "picture", tql::kLob, bytes(std::string(lobBytes, 'p')));
}

void addEveryType(PropertyList& properties) {
  addNumbers(properties);
  addTexts(properties);
  add(properties, "monitored", tql::kBoolean | tql::kNullAllowed, false);
  for (std::uint32_t type = tql::kBoolean; type <= tql::kLob; ++type) {
    addNull(properties, "null" + std::to_string(type), type | tql::kNullAllowed);
  }
  addNull(properties, "nullStatus", tql::kStatusEnumeration | tql::kNullAllowed);
  addNull(properties, "inherited", tql::kString | tql::kNullAllowed | tql::kInherited);
}

}  // namespace morvex::sandbox
