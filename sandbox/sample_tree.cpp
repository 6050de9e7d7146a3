#include "sandbox/sample_tree.h"

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/big_num.h"
#include "foundation/text.h"
#include "query/tql/constant.h"
#include "query/tql/property_codec.h"

namespace morvex::sandbox {
namespace {

constexpr std::int32_t kDays = 30;
constexpr SeriesPlan kContinuous{SeriesKind::continuous, 300, kDays * 288};
constexpr SeriesPlan kSawtooth{SeriesKind::sawtooth, 300, kDays * 288};
constexpr SeriesPlan kEnumeration{SeriesKind::enumeration, 300, kDays * 288};
constexpr SeriesPlan kHourly{SeriesKind::continuous, 3600, kDays * 24};
constexpr SeriesPlan kDaily{SeriesKind::sawtooth, 86400, kDays};
constexpr SeriesPlan kIncidents{SeriesKind::incidents, 21600, kDays * 4};

// Short enough for twenty million rows since 1970.
constexpr std::int32_t kScaleSlotSeconds = 60;

constexpr std::size_t kScaleTextBytes = 60;

constexpr std::uint32_t kNodesPerBlock = 1000;

constexpr std::size_t kLargeTextBytes = 60;

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

// An enumeration, by the name of its value.
void addEnumerator(PropertyList& properties, const std::string& name, const std::string& word,
                   std::uint32_t flags) {
  tql::encodeConstant(properties.emplace_back(), name, word);
  properties.back().typeWord |= flags;
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
  addEnumerator(to, "status", "ES_WARN", tql::kComputed);
  addEnumerator(to, "notify", "NOTIFY_AsAlert", 0);
  addEnumerator(to, "reportFormat", "RIF_Graph", tql::kNullAllowed);
  addEnumerator(to, "nodeReportType", "NRT_Check", tql::kConst);
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

// What every object has: the name among its siblings, and a label.
PropertyList named(const std::string& siblingName, const std::string& longLabel, bool active = true) {
  PropertyList properties;
  add(properties, "siblingName", tql::kString, siblingName);
  add(properties, "longLabel", tql::kString, longLabel);
  add(properties, "active", tql::kBoolean, active);
  return properties;
}

// Adds one property of every type, enumerations included, with all kinds of flags; and a null of every type.
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

using Class = ObjectClass;

ObjectIndex add(Tree& to, ObjectIndex parent, Class objectClass, const std::string& name,
                const std::string& label, const SeriesPlan& plan = {}) {
  return to.add(parent, objectClass, named(name, label), plan);
}

void addInactive(Tree& to, ObjectIndex parent, const std::string& name, const std::string& label,
                 const SeriesPlan& plan) {
  to.add(parent, Class::check, named(name, label, false), plan);
}

// An object with properties of every type.
ObjectIndex addRich(Tree& to, ObjectIndex parent, Class objectClass, const std::string& name,
                    const std::string& label, const SeriesPlan& plan = {}) {
  PropertyList properties = named(name, label);
  addEveryType(properties);
  return to.add(parent, objectClass, std::move(properties), plan);
}

void addGenerated(Tree& to, std::uint32_t count) {
  const ObjectIndex top = add(to, Tree::kRoot, Class::domain, "generated", "Generated nodes");
  ObjectIndex block = top;
  for (std::uint32_t number = 0; number < count; ++number) {
    if (number % kNodesPerBlock == 0) {
      block = to.addGenerated(top, Class::domain, number / kNodesPerBlock);
    }
    to.addGenerated(block, Class::node, number, kIncidents);
  }
}

// A node with a LOB of so many bytes, and a list of each type with so many elements.
void addLarge(Tree& to, std::size_t lobBytes, std::size_t listLength) {
  PropertyList properties = named("large", "Node with large properties");
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
  to.add(Tree::kRoot, Class::node, std::move(properties), kIncidents);
}

void addScale(Tree& to, std::uint32_t rowCount) {
  const auto plan = [rowCount](SeriesKind kind) {
    return SeriesPlan{kind, kScaleSlotSeconds, static_cast<std::int32_t>(rowCount), kScaleTextBytes};
  };
  const ObjectIndex scale =
      add(to, Tree::kRoot, Class::node, "scale", "Node with large series", plan(SeriesKind::incidents));
  add(to, scale, Class::check, "continuous", "Many measured values", plan(SeriesKind::continuous));
  add(to, scale, Class::check, "sawtooth", "Many counted values", plan(SeriesKind::sawtooth));
  add(to, scale, Class::check, "enum", "Many states", plan(SeriesKind::enumeration));
}

void addInterfaces(Tree& to, ObjectIndex node) {
  const ObjectIndex interfaces = add(to, node, Class::checkGroup, "interfaces", "Network interfaces");
  for (const std::string name : {"eth0", "eth1", "eth10"}) {
    const ObjectIndex one = add(to, interfaces, Class::checkGroup, name, "Interface " + name);
    const ObjectIndex traffic =
        add(to, one, Class::check, "traffic", "Traffic on " + name + " [kbit/s]", kContinuous);
    add(to, traffic, Class::checkAccumulation, "hourly", "Traffic on " + name + ", hourly", kHourly);
    add(to, traffic, Class::checkAccumulation, "daily", "Traffic on " + name + ", daily", kDaily);
    add(to, one, Class::check, "octets", "Octets through " + name, kSawtooth);
    add(to, one, Class::check, "state", "State of " + name, kEnumeration);
  }
}

void addBackbone(Tree& to) {
  const ObjectIndex backbone = add(to, Tree::kRoot, Class::domain, "Backbone", "Backbone network");
  const ObjectIndex routers = addRich(to, backbone, Class::domain, "Routers", "All routers");
  const ObjectIndex main =
      addRich(to, routers, Class::node, "mainrouter", "Main router — Zürich", kIncidents);
  addRich(to, main, Class::check, "ping", "Round-trip time [µs]", kContinuous);
  add(to, main, Class::check, "uptime", "Uptime [s]", kSawtooth);
  add(to, main, Class::check, "state", "Overall state", kEnumeration);
  addInactive(to, main, "fan", "Fan speed (switched off)", kContinuous);
  addInactive(to, main, "psu", "Power supply (switched off)", kEnumeration);
  add(to, main, Class::check, "new", "Check without data yet", SeriesPlan{});
  addInterfaces(to, main);

  const ObjectIndex backup = add(to, routers, Class::node, "backuprouter", "Backup router", kIncidents);
  add(to, backup, Class::check, "ping", "Round-trip time [µs]", kContinuous);
  add(to, backup, Class::checkGroup, "empty", "Group without checks");

  const ObjectIndex switches = add(to, backbone, Class::domain, "Switches", "All switches");
  for (const std::string number : {"1", "2", "10"}) {
    const ObjectIndex one = add(to, switches, Class::node, "sw" + number, "Switch " + number, kIncidents);
    add(to, one, Class::check, "ping", "Round-trip time [µs]", kContinuous);
    addInactive(to, one, "spare", "Spare check", kSawtooth);
  }
  add(to, backbone, Class::domainExport, "availability", "Availability of the backbone", kDaily);
}

void addCustomers(Tree& to) {
  const ObjectIndex customers = add(to, Tree::kRoot, Class::domain, "Customers", "Customers");
  const ObjectIndex bakery =
      add(to, customers, Class::domain, "Bäckerei Müller", "Bäckerei Müller & Söhne, Köln");
  const ObjectIndex till = add(to, bakery, Class::node, "Kasse 1", "Kasse im Laden „Mitte“", kIncidents);
  add(to, till, Class::check, "Verfügbarkeit", "Verfügbarkeit in %", kContinuous);
  const ObjectIndex tokyo = add(to, customers, Class::domain, "東京", "東京支社");
  const ObjectIndex server = add(to, tokyo, Class::node, "サーバー", "メインサーバー", kIncidents);
  add(to, server, Class::check, "温度", "温度 [°C]", kContinuous);
  add(to, customers, Class::domain, "Empty", "Domain without anything in it");
  add(to, customers, Class::domainExport, "invoices", "Data for invoices", kDaily);
}

// A name for each combination of the characters that paths escape, names of these alone, and some others.
std::vector<std::string> awkwardNames() {
  constexpr std::string_view kSpecial = ".,^\\";
  std::vector<std::string> names;
  for (unsigned chosen = 1; chosen < 1U << kSpecial.size(); ++chosen) {
    std::string name = "a";
    for (std::size_t i = 0; i < kSpecial.size(); ++i) {
      if ((chosen >> i & 1U) != 0) {
        name += kSpecial[i];
      }
    }
    names.push_back(name + "z");
  }
  for (const char special : kSpecial) {
    names.emplace_back(1, special);
  }
  for (const char* const name :
       {"\\\\", "..", ",,", "^.^", "say \"hello\"", " blanks  around ", "{ true } > ."}) {
    names.emplace_back(name);
  }
  return names;
}

void addAwkwardNames(Tree& to) {
  const ObjectIndex top = add(to, Tree::kRoot, Class::domain, "Names", "Names that need escaping");
  const ObjectIndex node = add(to, top, Class::node, "checks", "Checks with such names", kIncidents);
  for (const std::string& name : awkwardNames()) {
    const ObjectIndex domain = add(to, top, Class::domain, name, "Domain " + name);
    add(to, add(to, domain, Class::node, name, "Node " + name, kIncidents), Class::check, name,
        "Check " + name, kEnumeration);
    const ObjectIndex group = add(to, node, Class::checkGroup, name, "Group " + name);
    const ObjectIndex check = add(to, group, Class::check, name, "Check " + name, kContinuous);
    add(to, check, Class::checkAccumulation, name, "Accumulation " + name, kHourly);
  }
}

}  // namespace

Tree makeSampleTree(const Options& options) {
  Tree tree;
  addRich(tree, kNoObject, Class::domain, "root", "Root domain");
  const ObjectIndex gateway =
      add(tree, Tree::kRoot, Class::node, "gateway", "Gateway to everything", kIncidents);
  add(tree, gateway, Class::check, "ping", "Round-trip time [µs]", kContinuous);
  addBackbone(tree);
  addCustomers(tree);
  addAwkwardNames(tree);
  if (options.rows > 0) {
    addScale(tree, options.rows);
  }
  if (options.lobBytes > 0 || options.listLength > 0) {
    addLarge(tree, options.lobBytes, options.listLength);
  }
  for (std::uint32_t number = 0; number < options.domains; ++number) {
    tree.addGenerated(Tree::kRoot, Class::domain, number);
  }
  if (options.nodes > 0) {
    addGenerated(tree, options.nodes);
  }
  return tree;
}

}  // namespace morvex::sandbox
