#pragma once

#include <cstdint>

// Numbers and names that both sides of a connection know, besides the messages themselves. The codes of
// refusals stand in foundation/errors.h, the types of properties in query/tql/property_codec.h.
namespace morvex::protocol {

// The version of the protocol: major 2, minor 3. Versions with the same major number work together.
inline constexpr std::int32_t kVersion = 0x0203;
constexpr std::int32_t majorOf(std::int32_t version) { return (version >> 8) & 0xFF; }
constexpr bool isCompatible(std::int32_t version) { return majorOf(version) == majorOf(kVersion); }

inline constexpr std::uint16_t kDefaultPort = 3241;

// The flags of a PathPattern, one for each modifier of the query language.
namespace pattern_flag {
inline constexpr std::uint32_t kRecursive = 1;      // "*": at any depth
inline constexpr std::uint32_t kAllProperties = 2;  // "!"
inline constexpr std::uint32_t kKept = 4;           // "$": even if nothing below matches
inline constexpr std::uint32_t kNumberSign = 8;     // "#", known to the server alone
inline constexpr std::uint32_t kMinus = 16;         // "-", known to the server alone
}  // namespace pattern_flag

// An option of a SelectReq: further answers to the same request may follow.
inline constexpr std::uint32_t kStayRegistered = 1;

// The methods of a CallReq. The last two take the property "name", a String List: the path of the metric.
namespace method {
inline constexpr std::int32_t kMetricTree = 1;         // answers with one object, the root of the tree
inline constexpr std::int32_t kMetricValue = 2;        // answers with properties
inline constexpr std::int32_t kMetricDescription = 3;  // answers with one object
}  // namespace method

// The tables of time series: the incident log of a node, and the results of other objects.
inline constexpr const char* kIncidentTable = "tsdbIncident";
inline constexpr const char* kResultTable = "tsdbIndex";

namespace object_class {
// In the object tree.
inline constexpr const char* kDomain = "Domain";
inline constexpr const char* kNode = "Node";
inline constexpr const char* kCheckGroup = "CheckGroup";
inline constexpr const char* kCheck = "Check";
inline constexpr const char* kCheckAccumulation = "CheckAccumulation";
inline constexpr const char* kDomainExport = "DomainExport";
// In the tree of metrics: what holds others, and the metrics.
inline constexpr const char* kGroup = "Group";
inline constexpr const char* kTable = "Table";
inline constexpr const char* kInstance = "Instance";
inline constexpr const char* kCounterInt64 = "CounterInt64";
inline constexpr const char* kGaugeInt64 = "GaugeInt64";
inline constexpr const char* kGaugeDouble = "GaugeDouble";
inline constexpr const char* kTiming = "Timing";
}  // namespace object_class

}  // namespace morvex::protocol
