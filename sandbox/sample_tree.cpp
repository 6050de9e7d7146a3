#include "sandbox/sample_tree.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "query/tql/property_codec.h"
#include "sandbox/sample_properties.h"

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

class Builder {
 public:
  Tree take() { return std::move(tree_); }

  ObjectIndex domain(ObjectIndex parent, const std::string& name, const std::string& label) {
    return tree_.add(parent, ObjectClass::domain, named(name, label));
  }
  ObjectIndex node(ObjectIndex parent, const std::string& name, const std::string& label) {
    return tree_.add(parent, ObjectClass::node, named(name, label), kIncidents);
  }
  ObjectIndex group(ObjectIndex parent, const std::string& name, const std::string& label) {
    return tree_.add(parent, ObjectClass::checkGroup, named(name, label));
  }
  ObjectIndex check(ObjectIndex parent, const std::string& name, const std::string& label,
                    const SeriesPlan& plan) {
    return tree_.add(parent, ObjectClass::check, named(name, label), plan);
  }
  void inactiveCheck(ObjectIndex parent, const std::string& name, const std::string& label,
                     const SeriesPlan& plan) {
    PropertyList properties = named(name, label);
    tql::encode(properties.back(), "active", tql::kBoolean, false);
    tree_.add(parent, ObjectClass::check, std::move(properties), plan);
  }
  void accumulation(ObjectIndex parent, const std::string& name, const std::string& label,
                    const SeriesPlan& plan) {
    tree_.add(parent, ObjectClass::checkAccumulation, named(name, label), plan);
  }
  void domainExport(ObjectIndex parent, const std::string& name, const std::string& label) {
    tree_.add(parent, ObjectClass::domainExport, named(name, label), kDaily);
  }

  // An object with properties of every type.
  ObjectIndex rich(ObjectIndex parent, ObjectClass objectClass, const std::string& name,
                   const std::string& label, const SeriesPlan& plan = {}) {
    PropertyList properties = named(name, label);
    addEveryType(properties);
    return tree_.add(parent, objectClass, std::move(properties), plan);
  }

  void addGenerated(std::uint32_t count) {
    const ObjectIndex top = domain(Tree::kRoot, "generated", "Generated nodes");
    ObjectIndex block = top;
    for (std::uint32_t number = 0; number < count; ++number) {
      if (number % kNodesPerBlock == 0) {
        block = tree_.addGenerated(top, ObjectClass::domain, number / kNodesPerBlock);
      }
      tree_.addGenerated(block, ObjectClass::node, number, kIncidents);
    }
  }

  void addDomains(std::uint32_t count) {
    for (std::uint32_t number = 0; number < count; ++number) {
      tree_.addGenerated(Tree::kRoot, ObjectClass::domain, number);
    }
  }

  void addLarge(std::size_t lobBytes, std::size_t listLength) {
    PropertyList properties = named("large", "Node with large properties");
    addLargeValues(properties, lobBytes, listLength);
    tree_.add(Tree::kRoot, ObjectClass::node, std::move(properties), kIncidents);
  }

  void addScale(std::uint32_t rowCount) {
    const auto plan = [rowCount](SeriesKind kind) {
      return SeriesPlan{kind, kScaleSlotSeconds, static_cast<std::int32_t>(rowCount), kScaleTextBytes};
    };
    const ObjectIndex scale =
        tree_.add(Tree::kRoot, ObjectClass::node, named("scale", "Node with large series"),
                  plan(SeriesKind::incidents));
    check(scale, "continuous", "Many measured values", plan(SeriesKind::continuous));
    check(scale, "sawtooth", "Many counted values", plan(SeriesKind::sawtooth));
    check(scale, "enum", "Many states", plan(SeriesKind::enumeration));
  }

 private:
  Tree tree_;
};

void addInterfaces(Builder& to, ObjectIndex node) {
  const ObjectIndex interfaces = to.group(node, "interfaces", "Network interfaces");
  for (const std::string name : {"eth0", "eth1", "eth10"}) {
    const ObjectIndex one = to.group(interfaces, name, "Interface " + name);
    const ObjectIndex traffic = to.check(one, "traffic", "Traffic on " + name + " [kbit/s]", kContinuous);
    to.accumulation(traffic, "hourly", "Traffic on " + name + ", hourly", kHourly);
    to.accumulation(traffic, "daily", "Traffic on " + name + ", daily", kDaily);
    to.check(one, "octets", "Octets through " + name, kSawtooth);
    to.check(one, "state", "State of " + name, kEnumeration);
  }
}

void addBackbone(Builder& to) {
  const ObjectIndex backbone = to.domain(Tree::kRoot, "Backbone", "Backbone network");
  const ObjectIndex routers = to.rich(backbone, ObjectClass::domain, "Routers", "All routers");
  const ObjectIndex main =
      to.rich(routers, ObjectClass::node, "mainrouter", "Main router — Zürich", kIncidents);
  to.rich(main, ObjectClass::check, "ping", "Round-trip time [µs]", kContinuous);
  to.check(main, "uptime", "Uptime [s]", kSawtooth);
  to.check(main, "state", "Overall state", kEnumeration);
  to.inactiveCheck(main, "fan", "Fan speed (switched off)", kContinuous);
  to.inactiveCheck(main, "psu", "Power supply (switched off)", kEnumeration);
  to.check(main, "new", "Check without data yet", SeriesPlan{});
  addInterfaces(to, main);

  const ObjectIndex backup = to.node(routers, "backuprouter", "Backup router");
  to.check(backup, "ping", "Round-trip time [µs]", kContinuous);
  to.group(backup, "empty", "Group without checks");

  const ObjectIndex switches = to.domain(backbone, "Switches", "All switches");
  for (const std::string number : {"1", "2", "10"}) {
    const ObjectIndex one = to.node(switches, "sw" + number, "Switch " + number);
    to.check(one, "ping", "Round-trip time [µs]", kContinuous);
    to.inactiveCheck(one, "spare", "Spare check", kSawtooth);
  }
  to.domainExport(backbone, "availability", "Availability of the backbone");
}

void addCustomers(Builder& to) {
  const ObjectIndex customers = to.domain(Tree::kRoot, "Customers", "Customers");
  const ObjectIndex bakery = to.domain(customers, "Bäckerei Müller", "Bäckerei Müller & Söhne, Köln");
  const ObjectIndex till = to.node(bakery, "Kasse 1", "Kasse im Laden „Mitte“");
  to.check(till, "Verfügbarkeit", "Verfügbarkeit in %", kContinuous);
  const ObjectIndex tokyo = to.domain(customers, "東京", "東京支社");
  const ObjectIndex server = to.node(tokyo, "サーバー", "メインサーバー");
  to.check(server, "温度", "温度 [°C]", kContinuous);
  to.domain(customers, "Empty", "Domain without anything in it");
  to.domainExport(customers, "invoices", "Data for invoices");
}

// A name for each choice of the characters that paths have to escape, and some that are nothing else.
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

void addAwkwardNames(Builder& to) {
  const ObjectIndex top = to.domain(Tree::kRoot, "Names", "Names that need escaping");
  const ObjectIndex node = to.node(top, "checks", "Checks with such names");
  for (const std::string& name : awkwardNames()) {
    const ObjectIndex domain = to.domain(top, name, "Domain " + name);
    to.check(to.node(domain, name, "Node " + name), name, "Check " + name, kEnumeration);
    const ObjectIndex group = to.group(node, name, "Group " + name);
    const ObjectIndex check = to.check(group, name, "Check " + name, kContinuous);
    to.accumulation(check, name, "Accumulation " + name, kHourly);
  }
}

}  // namespace

Tree makeSampleTree(const Options& options) {
  Builder builder;
  builder.rich(kNoObject, ObjectClass::domain, "root", "Root domain");
  const ObjectIndex gateway = builder.node(Tree::kRoot, "gateway", "Gateway to everything");
  builder.check(gateway, "ping", "Round-trip time [µs]", kContinuous);
  addBackbone(builder);
  addCustomers(builder);
  addAwkwardNames(builder);
  if (options.rows > 0) {
    builder.addScale(options.rows);
  }
  if (options.lobBytes > 0 || options.listLength > 0) {
    builder.addLarge(options.lobBytes, options.listLength);
  }
  builder.addDomains(options.domains);
  if (options.nodes > 0) {
    builder.addGenerated(options.nodes);
  }
  return builder.take();
}

}  // namespace morvex::sandbox
