// SPDX-License-Identifier: GPL-3.0-or-later
// One reading tick, from GetData of the simulator to the finished text of the label; and the
// statistics alone, beside a plain loop of dependent additions over the same numbers.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "bench/allocations.h"
#include "bench/quiet_meter.h"
#include "meter/tick.h"
#include "reduction/statistics.h"

namespace vantoscope::bench {
namespace {

struct TickingMeter : QuietMeter {
  TickingMeter(std::int64_t channels, std::int64_t window, std::int64_t method)
      : QuietMeter(channels) {
    meter.config.WindowSize = static_cast<std::int32_t>(window);
    meter.config.DataMethod = static_cast<std::int16_t>(method);
    Timer1Tick(meter);  // the first one fills what a source fills once
  }
};

void Tick(benchmark::State& state, std::int64_t method) {
  TickingMeter m(state.range(0), state.range(1), method);
  const long before = Allocations();
  for (auto _ : state) {
    Timer1Tick(m.meter);
    benchmark::DoNotOptimize(m.form.text.data());
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(Allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
}

void Windows(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"channels", "scans"})->ArgsProduct({{1, 16, 256}, {3, 1000, 32767}});
  bench->Unit(benchmark::kMicrosecond);
}
void OneWindow(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"channels", "scans"})->ArgsProduct({{1, 16, 256}, {3}});
  bench->Unit(benchmark::kMicrosecond);
}
BENCHMARK_CAPTURE(Tick, None, kMethodNone)->Apply(OneWindow);
BENCHMARK_CAPTURE(Tick, Min, kMethodMin)->Apply(Windows);
BENCHMARK_CAPTURE(Tick, Max, kMethodMax)->Apply(Windows);
BENCHMARK_CAPTURE(Tick, Ave, kMethodAve)->Apply(Windows);
BENCHMARK_CAPTURE(Tick, RMS, kMethodRms)->Apply(Windows);
BENCHMARK_CAPTURE(Tick, ACRMS, kMethodAcRms)->Apply(Windows);
BENCHMARK_CAPTURE(Tick, Calc, kMethodCalc)->Apply(OneWindow);

/// What any program would do for such a reading: a new block from 16-bit words with factor and
/// offset, the root mean square of one channel, and its text.
void PlainTick(benchmark::State& state) {
  const auto channels = static_cast<std::size_t>(state.range(0));
  const auto scans = static_cast<std::size_t>(state.range(1));
  const std::vector<std::int16_t> words(channels * scans, 15);
  double factor = 0.5;
  benchmark::DoNotOptimize(factor);
  std::array<char, 32> text{};
  for (auto _ : state) {
    const auto values = std::make_unique_for_overwrite<double[]>(words.size());
    for (std::size_t i = 0; i < words.size(); ++i) values[i] = 1 + factor * words[i];
    double sum = 0;
    for (std::size_t i = 0; i < scans; ++i) sum += values[i] * values[i];
    benchmark::ClobberMemory();
    std::snprintf(text.data(), text.size(), "%.5f", std::sqrt(sum / static_cast<double>(scans)));
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(PlainTick)->Apply(Windows);

constexpr std::int32_t kScans = 32767;

std::optional<Block> Sine() {
  Block block(1, kScans);
  for (std::int32_t i = 0; i < kScans; ++i) {
    block(0, static_cast<std::size_t>(i)) = 1.5 + std::sin(0.01 * i);
  }
  return block;
}

void DependentAdditions(benchmark::State& state) {
  const std::optional<Block> block = Sine();
  for (auto _ : state) {
    double sum = 0;
    for (const double x : block->Channel(0)) sum += x;
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(DependentAdditions)->Unit(benchmark::kMicrosecond);

void Statistic(benchmark::State& state, std::int16_t index) {
  TickingMeter m(1, kScans, kMethodNone);
  const std::optional<Block> block = Sine();
  for (auto _ : state) {
    benchmark::DoNotOptimize(ChannelStatistic(m.meter, index, 0, block));
  }
}
BENCHMARK_CAPTURE(Statistic, Min, kStatisticMin)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Statistic, Max, kStatisticMax)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Statistic, Ave, kStatisticAve)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Statistic, RMS, kStatisticRms)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Statistic, ACRMS, kStatisticAcRms)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Statistic, freq, kStatisticFreq)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vantoscope::bench
