#include <benchmark/benchmark.h>

#include "commands/csv_output.h"
#include "samples.h"

namespace {

class NullOutput final : public Output {
 protected:
  void drain(std::string_view block) override { benchmark::DoNotOptimize(block); }
};

void printRows(benchmark::State& state, const char* format) {
  constexpr std::size_t kRows = 10'000;
  const protocol::Response response = sampleSeries(kRows);
  const auto& intervals = response.resp.as<protocol::GetDataResp>()->intervals;
  NullOutput output;
  for (auto _ : state) {
    TimeText times(format, TimeZone(TimeZone::localMarker));
    for (const auto& interval : intervals) {
      printCsvRow(output, times, interval);
    }
  }
  state.counters["rows/s"] = benchmark::Counter(
      static_cast<double>(kRows) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK_CAPTURE(printRows, seconds, "%s")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(printRows, local, "%Y-%m-%d %H:%M:%S")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(printRows, otherFormat, "%d.%m.%Y %H:%M")->Unit(benchmark::kMillisecond);

}  // namespace
