#include <benchmark/benchmark.h>

#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "allocations.h"
#include "protocol/ber_reader.h"
#include "samples.h"

using namespace morvex;

namespace {

constexpr std::size_t kRows = 10'000;

std::string encoded(const protocol::Record& message) {
  MemoryIo io;
  message.write(io, false);
  return io.text;
}

// state.range(0): how many bytes the reader gets at a time.
void decodeSeries(benchmark::State& state) {
  const std::string bytes = encoded(sampleSeries(kRows));
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const auto step = static_cast<std::size_t>(state.range(0));
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = allocationCount();
    old_protocol::BerReader reader(protocol::guiProtocol::instance(), nullptr);
    for (std::size_t at = 0; at < bytes.size(); at += step) {
      reader.feed({data + at, std::min(step, bytes.size() - at)});
    }
    auto message = reader.nextMessage();
    allocations += allocationCount() - before;
    benchmark::DoNotOptimize(message);
  }
  const auto rows = static_cast<double>(kRows) * static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * state.iterations());
  state.counters["allocs/row"] = static_cast<double>(allocations) / rows;
  state.counters["rows/s"] = benchmark::Counter(rows, benchmark::Counter::kIsRate);
}
BENCHMARK(decodeSeries)->Arg(1)->Arg(1460)->Arg(65536)->Unit(benchmark::kMillisecond);

void writeSeries(benchmark::State& state) {
  const protocol::Response response = sampleSeries(kRows);
  MemoryIo io;
  std::size_t size = 0;
  for (auto _ : state) {
    io.text.clear();
    response.write(io, false);
    size = io.text.size();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}
BENCHMARK(writeSeries)->Unit(benchmark::kMillisecond);

// The content of one primitive.
template <class T>
void decodePrimitive(benchmark::State& state, std::vector<std::uint8_t> content) {
  T member{};
  const protocol::Bounds bounds = protocol::upTo(2048);
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = allocationCount();
    if constexpr (std::is_same_v<T, std::string>) {
      member.clear();
    }
    protocol::Leaf<T>::decode(content, bounds, member);
    benchmark::DoNotOptimize(member);
    allocations += allocationCount() - before;
  }
  state.counters["allocs"] = static_cast<double>(allocations) / static_cast<double>(state.iterations());
}

const std::vector<std::uint8_t> kText(12, 'x');
const std::vector<std::uint8_t> kReal{0, '3', '.', '5', '4', '0', '9', '2', '0', 'e', '+', '0', '1'};

void decodeBoolean(benchmark::State& state) { decodePrimitive<bool>(state, {1}); }
BENCHMARK(decodeBoolean);
void decodeInteger(benchmark::State& state) { decodePrimitive<std::int32_t>(state, {7}); }
BENCHMARK(decodeInteger);
void decodeUnsigned(benchmark::State& state) { decodePrimitive<std::uint32_t>(state, {0x07, 0x53}); }
BENCHMARK(decodeUnsigned);
void decodeEnumerated(benchmark::State& state) { decodePrimitive<protocol::RelOperator>(state, {3}); }
BENCHMARK(decodeEnumerated);
void decodeReal(benchmark::State& state) { decodePrimitive<double>(state, kReal); }
BENCHMARK(decodeReal);
void decodeString(benchmark::State& state) { decodePrimitive<std::string>(state, kText); }
BENCHMARK(decodeString);
void decodeBigNum(benchmark::State& state) { decodePrimitive<BigNum>(state, {1, 2, 3, 4, 5, 6, 7, 8}); }
BENCHMARK(decodeBigNum);

}  // namespace
