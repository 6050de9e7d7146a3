#include <benchmark/benchmark.h>

#include <string>

#include "query/tql/parser.h"

using namespace morvex;

namespace {

const std::string kChecks =
    "Domain*[siblingName] > Node[siblingName] > CheckGroup*[siblingName]> Check$[siblingName,longLabel] "
    "{ active = true } > CheckAccumulation[siblingName,longLabel]";

void parseChecks(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(tql::parse(kChecks));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(kChecks.size()) * state.iterations());
}
BENCHMARK(parseChecks);

// state.range(0): how many steps the expression has.
void parseChain(benchmark::State& state) {
  std::string text = "Domain[siblingName]";
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    text += " > Domain[siblingName] { siblingName = \"name\" }";
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(tql::parse(text));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(parseChain)->Range(64, 65536)->Complexity(benchmark::oN);

}  // namespace
