// Single conversions between numbers or times and text, each of many different values.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <vector>

#include "allocations.h"
#include "commands/csv_input.h"
#include "commands/csv_output.h"
#include "foundation/number_text.h"

using namespace morvex;

namespace {

constexpr std::size_t kCount = 10'000;
const TimeZone kLocal(TimeZone::localMarker);

// One value after the other, each made from its index; the time that is shown is for one conversion.
template <class Make, class Convert>
void convertAll(benchmark::State& state, Make make, Convert convert) {
  std::vector<decltype(make(0))> values;
  for (std::size_t i = 0; i < kCount; ++i) {
    values.push_back(make(static_cast<int>(i)));
  }
  const std::uint64_t before = allocationCount();
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(values[next]));
    next = next + 1 == kCount ? 0 : next + 1;
  }
  state.counters["allocs"] =
      static_cast<double>(allocationCount() - before) / static_cast<double>(state.iterations());
}

double someReal(int i) { return 20.0 + (i % 1000) / 7.0; }
double shortReal(int i) { return i % 1000 / 100.0; }
std::uint32_t smallNumber(int i) { return static_cast<std::uint32_t>(i % 100); }
std::int32_t someTime(int i) { return 1'700'000'000 + 300 * i; }
std::uint32_t seconds(int i) { return static_cast<std::uint32_t>(someTime(i)); }

template <class Value>
void putAll(benchmark::State& state, Value (*make)(int), char* (*write)(char*, Value)) {
  char room[kNumberRoom];
  convertAll(state, make, [&](Value value) { return *write(room, value); });
}
void putReals(benchmark::State& state, double (*make)(int), char* (*write)(char*, double)) {
  putAll(state, make, write);
}
BENCHMARK_CAPTURE(putReals, general, someReal, putReal);
BENCHMARK_CAPTURE(putReals, shortGeneral, shortReal, putReal);
BENCHMARK_CAPTURE(putReals, scientific, someReal, putScientific);
void putUints(benchmark::State& state, std::uint32_t (*make)(int)) { putAll(state, make, putUint); }
BENCHMARK_CAPTURE(putUints, small, smallNumber);
BENCHMARK_CAPTURE(putUints, seconds, seconds);

template <const char* kFormat>
std::string printed(int i) {
  char text[32];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, kFormat, someReal(i)))};
}

double realOf(const std::string& text) {
  double value = 0;
  readDecimal(text.data(), text.data() + text.size(), value);
  return value;
}

void readReals(benchmark::State& state, std::string (*make)(int)) { convertAll(state, make, realOf); }
constexpr char kGeneral[] = "%g", kScientific[] = "%e", kAllDigits[] = "%.17g";
BENCHMARK_CAPTURE(readReals, general, printed<kGeneral>);
BENCHMARK_CAPTURE(readReals, scientific, printed<kScientific>);
BENCHMARK_CAPTURE(readReals, allDigits, printed<kAllDigits>);

void putTime(benchmark::State& state) {
  TimeText times(std::string(kDefaultTimeFormat), kLocal);
  char room[TimeText::kRoom];
  convertAll(state, someTime, [&](std::int32_t time) { return *times.put(room, time); });
}
BENCHMARK(putTime);

std::string someTimeText(int i) {
  TimeText times(std::string(kDefaultTimeFormat), kLocal);
  char room[TimeText::kRoom];
  return {room, times.put(room, someTime(i))};
}

void readTime(benchmark::State& state) {
  Calendar calendar(kLocal);
  convertAll(state, someTimeText, [&](const std::string& text) { return parseCsvTime(text, calendar); });
}
BENCHMARK(readTime);

}  // namespace
