#include "sandbox/metric_table.h"

#include <cmath>
#include <ctime>
#include <string>

namespace morvex::sandbox {
namespace {

constexpr std::uint64_t kSecond = 1'000'000;
constexpr std::uint64_t kCountdownFrom = 1'000'000'000;
constexpr std::uint64_t kQueueLimit = 100;

std::uint64_t secondsAt(const MetricInput& at) { return at.microseconds / kSecond; }

double waveAt(const MetricInput& at) {
  constexpr double kFullTurn = 6.283185307179586;
  const double minutes = static_cast<double>(at.microseconds) / (60.0 * kSecond);
  return 50 + 50 * std::sin(kFullTurn * minutes);
}

// n samples of 10, 11, 12, 13, 14, 10, 11 and so on.
Samples samplesOf(std::uint64_t n) {
  constexpr std::uint64_t kLowest = 10;
  constexpr std::uint64_t kCycle = 5;
  Samples samples;
  for (std::uint64_t i = 0; i < kCycle; ++i) {
    samples.add(kLowest + i, n / kCycle + (i < n % kCycle ? 1 : 0));
  }
  return samples;
}

double cpuSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

using Value = MetricValue;
using At = const MetricInput&;

Value versionText(At) {
  static const std::string kText =
      std::to_string(protocol::majorOf(protocol::kVersion)) + "." + std::to_string(protocol::kVersion & 0xFF);
  return std::string_view(kText);
}

template <auto kMember>
Value counted(At at) {
  return at.activity.*kMember;
}

template <auto kMember>
Value ofRequests(At at) {
  return at.activity.requests[at.instances[0]].*kMember;
}

constexpr MetricRow kRows[] = {
    {0, kGroup, ""},
    {1, kGroup, "clients"},
    {2, kGaugeInt64, "connected", "", "Clients that are connected", counted<&Activity::connected>},
    {2, kCounterInt64, "accepted", "", "Connections accepted", counted<&Activity::accepted>},
    {2, kCounterInt64, "sessions", "", "Sessions opened", counted<&Activity::sessions>},
    {2, kCounterInt64, "bytesReceived", "B", "Bytes received", counted<&Activity::bytesReceived>},
    {2, kCounterInt64, "bytesSent", "B", "Bytes sent", counted<&Activity::bytesSent>},
    {1, kGroup, "objects"},
    {2, kGaugeInt64, "count", "", "Objects in the tree", [](At at) -> Value { return at.objects; }},
    {2, kCounterInt64, "updates", "", "Updates made", counted<&Activity::updates>},
    {2, kCounterInt64, "conflicts", "", "Updates refused for a stale version", counted<&Activity::conflicts>},
    {2, kCounterInt64, "actions", "", "Actions triggered", counted<&Activity::actions>},
    {1, kTable, "requests"},
    // In the order of RequestKind.
    {2, kInstance, "call"},
    {2, kInstance, "getData"},
    {2, kInstance, "getLastData"},
    {2, kInstance, "putData"},
    {2, kInstance, "select"},
    {2, kInstance, "update"},
    {2, kInstance, "other"},
    {2, kCounterInt64, "count", "", "Requests of this kind", ofRequests<&Activity::Requests::count>},
    {2, kCounterInt64, "errors", "", "Requests refused", ofRequests<&Activity::Requests::errors>},
    {2, kTiming, "time", "us", "From the request to the end of its answer",
     ofRequests<&Activity::Requests::time>},
    {1, kGroup, "rows"},
    {2, kCounterInt64, "sent", "", "Entries of series sent", counted<&Activity::rowsSent>},
    {2, kCounterInt64, "stored", "", "Entries of series stored", counted<&Activity::rowsStored>},
    {1, kGroup, "sample"},
    {2, kCounterInt64, "countdown", "", "Falls by ten each second",
     [](At at) -> Value { return kCountdownFrom - ticksAt(at); }},
    {2, kCounterInt64, "ticks", "", "Ten for each second", [](At at) -> Value { return ticksAt(at); }},
    {2, kCounterInt64, "item1", "", "One for each second", [](At at) -> Value { return secondsAt(at); }},
    {2, kCounterInt64, "item2", "", "Two for each second", [](At at) -> Value { return 2 * secondsAt(at); }},
    {2, kCounterInt64, "item10", "", "Ten for each second, at once",
     [](At at) -> Value { return 10 * secondsAt(at); }},
    {2, kGaugeInt64, "sawtooth", "s", "Grows for a minute and starts over",
     [](At at) -> Value { return secondsAt(at) % 60; }},
    {2, kGaugeDouble, "wave", "%", "Rises and falls once a minute",
     [](At at) -> Value { return waveAt(at); }},
    {2, kTiming, "lookup", "us", "Ten samples a second",
     [](At at) -> Value { return samplesOf(ticksAt(at)); }},
    {2, kTiming, "poll", "ms", "Ten samples a second", [](At at) -> Value { return samplesOf(ticksAt(at)); }},
    {2, kTiming, "backup", "s", "One sample a second",
     [](At at) -> Value { return samplesOf(secondsAt(at)); }},
    {2, kTiming, "idle", "us", "Never takes a sample", [](At) -> Value { return Samples(); }},
    {2, kTable, "empty"},
    {3, kCounterInt64, "unseen", "", "Has no instance", [](At at) -> Value { return ticksAt(at); }},
    {2, kTable, "queues"},
    {3, kInstance, "queue1"},
    {3, kInstance, "queue2"},
    {3, kInstance, "queue10"},
    {3, kGaugeInt64, "length", "", "Entries that wait",
     [](At at) -> Value { return (secondsAt(at) + 7 * at.instances[0]) % kQueueLimit; }},
    {3, kTiming, "wait", "ms", "Time in the queue",
     [](At at) -> Value { return samplesOf((at.instances[0] + 1) * ticksAt(at)); }},
    {3, kGroup, "limits"},
    {4, kGaugeInt64, "maximum", "", "Entries that fit in", [](At) -> Value { return kQueueLimit; }},
    {3, kTable, "consumers"},
    {4, kInstance, "high"},
    {4, kInstance, "low"},
    {4, kCounterInt64, "taken", "", "Entries taken out",
     [](At at) -> Value { return ticksAt(at) * (at.instances[0] + 1) * (2 - at.instances[1]); }},
    {1, kGroup, "server"},
    {2, kGaugeDouble, "cpuTime", "s", "Processor time used", [](At) -> Value { return cpuSeconds(); }},
    {2, kGaugeInt64, "uptime", "s", "Time since the start", [](At at) -> Value { return secondsAt(at); }},
    {2, "Text", "version", "", "Version of the protocol", versionText},
};

}  // namespace

std::span<const MetricRow> metricTable() { return kRows; }

std::uint64_t ticksAt(const MetricInput& at) { return at.microseconds / (kSecond / 10); }

}  // namespace morvex::sandbox
