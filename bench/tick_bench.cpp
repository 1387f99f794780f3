// SPDX-License-Identifier: GPL-3.0-or-later
// One reading tick, from GetData of the simulator to the finished text of the label; and the
// statistics alone, beside a plain loop of dependent additions over the same numbers.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

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
