#include <benchmark/benchmark.h>

#include <algorithm>

#include "allocations.h"
#include "commands/csv_input.h"
#include "commands/csv_output.h"

using namespace morvex;

namespace {

using namespace protocol;

constexpr std::size_t kRows = 10'000;
const char* const kSeconds = "%s";
const char* const kLocal = "%Y-%m-%d %H:%M:%S";
const char* const kOther = "%d.%m.%Y %H:%M";

class NullOutput final : public Output {
 protected:
  void drain(std::string_view block) override { benchmark::DoNotOptimize(block); }
};

class TextOutput final : public Output {
 public:
  std::string text;

 protected:
  void drain(std::string_view block) override { text += block; }
};

class TextInput final : public LineReader {
 public:
  explicit TextInput(std::string_view text) : rest_(text) {}

 protected:
  std::size_t read(std::span<char> block) override {
    const std::size_t count = rest_.copy(block.data(), block.size());
    rest_.remove_prefix(count);
    return count;
  }

 private:
  std::string_view rest_;
};

void fill(DataIntervalIncident& row, std::size_t i) {
  row.time = static_cast<std::int32_t>(1'700'000'000 + 300 * i);
  row.severity = Severity{static_cast<std::int32_t>(i % 4)};
  row.text = "No answer within ten seconds";
}

void fill(DataIntervalEnum& row, std::size_t i) {
  row.mask = static_cast<std::uint32_t>(1 + i % 7);
  row.ngood = static_cast<std::uint32_t>(i % 100);
}

template <class Span>
void fill(Span& row, std::size_t i) {
  row.avg = 20.0 + static_cast<double>(i % 1000) / 7;
  row.min = row.avg - 1.25;
  row.max = row.avg + 3.5;
  row.ngood = 5;
}

// Rows five minutes apart, each with its own values.
template <class Record>
dataquery::Intervals sampleRows() {
  dataquery::Intervals rows;
  for (std::size_t i = 0; i < kRows; ++i) {
    auto& row = rows.emplace_back().data.template emplace<Record>();
    if constexpr (requires { row.begin; }) {
      row.begin = static_cast<std::int32_t>(1'700'000'000 + 300 * i);
      row.end = row.begin + 300;
    }
    fill(row, i);
  }
  return rows;
}

void print(Output& output, const dataquery::Intervals& rows, const char* format) {
  TimeText times(format, TimeZone(TimeZone::localMarker));
  for (const auto& row : rows) {
    printCsvRow(output, times, row);
  }
}

void report(benchmark::State& state, std::uint64_t allocations) {
  const auto rows = static_cast<double>(kRows) * static_cast<double>(state.iterations());
  state.counters["rows/s"] = benchmark::Counter(rows, benchmark::Counter::kIsRate);
  state.counters["allocs/row"] = static_cast<double>(allocations) / rows;
}

template <class Record>
void printRows(benchmark::State& state, const char* format) {
  const dataquery::Intervals rows = sampleRows<Record>();
  NullOutput output;
  const std::uint64_t before = allocationCount();
  for (auto _ : state) {
    print(output, rows, format);
  }
  report(state, allocationCount() - before);
}
constexpr auto printSawtooth = printRows<DataIntervalSawtooth>;
constexpr auto printEnum = printRows<DataIntervalEnum>;
constexpr auto printIncident = printRows<DataIntervalIncident>;
BENCHMARK_CAPTURE(printSawtooth, seconds, kSeconds)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(printSawtooth, local, kLocal)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(printSawtooth, otherFormat, kOther)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(printEnum, seconds, kSeconds)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(printEnum, local, kLocal)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(printIncident, local, kLocal)->Unit(benchmark::kMicrosecond);

template <class Record>
void readRows(benchmark::State& state, const char* format) {
  TextOutput printed;
  print(printed, sampleRows<Record>(), format);
  printed.flush();
  DataInterval pattern;
  pattern.data.emplace<Record>();
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = allocationCount();
    TextInput input(printed.text);
    dataquery::Intervals rows = readCsvLines(input, pattern, TimeZone(TimeZone::localMarker));
    allocations += allocationCount() - before;
    benchmark::DoNotOptimize(rows.size());
  }
  report(state, allocations);
}
constexpr auto readSawtooth = readRows<DataIntervalSawtooth>;
constexpr auto readEnum = readRows<DataIntervalEnum>;
constexpr auto readIncident = readRows<DataIntervalIncident>;
BENCHMARK_CAPTURE(readSawtooth, seconds, kSeconds)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readSawtooth, local, kLocal)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readEnum, seconds, kSeconds)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readEnum, local, kLocal)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(readIncident, local, kLocal)->Unit(benchmark::kMicrosecond);

}  // namespace
