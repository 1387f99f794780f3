// SPDX-License-Identifier: GPL-3.0-or-later
// One equation tick from fetch to Reading, and its parts: the block from the source, the numbers
// into the text, the evaluator. The equations have 40 characters and name four channels.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/allocations.h"
#include "bench/quiet_meter.h"
#include "equation/completions.h"
#include "equation/equation_check.h"
#include "equation/equation_tick.h"
#include "equation/normaliser.h"
#include "equation/preparation.h"

namespace vantoscope::bench {
namespace {

constexpr const char* kHistory = "(#0-#Z0)/(#1-#Z1)+(#2-#Z2)*#3*#@+1000.25";
constexpr const char* kStatistics = "(#max0-#min0)/#ave1+#rms2*(#3-#Z3)+100.5";
constexpr const char* kTouching = "(#0-#Z0)/(#1-#Z1)+(#2-#Z2)*#3#0+1000.250";

/// Takes the text and computes nothing.
class NoEvaluation : public Evaluator {
 public:
  double Evaluate(std::string_view text) override { return static_cast<double>(text.size()); }
};

struct EquationMeter : QuietMeter {
  EquationMeter(std::int64_t channels, const char* equation, bool evaluate) : QuietMeter(channels) {
    meter.config.WindowSize = 1000;
    if (!evaluate) meter.runtime.EquationEngine = std::make_unique<NoEvaluation>();
    meter.runtime.PreparedEquation = NormaliseEquation(meter, equation).Text();
    if (!PrepareEquation(meter, meter.runtime.PreparedEquation)) std::abort();
    if (!EquationTick(meter)) std::abort();
  }
};

void Tick(benchmark::State& state, const char* equation, bool evaluate) {
  EquationMeter m(state.range(0), equation, evaluate);
  const long before = Allocations();
  for (auto _ : state) {
    EquationTick(m.meter);
    benchmark::DoNotOptimize(m.meter.runtime.Reading);
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(Allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
}

void Lists(benchmark::internal::Benchmark* bench) {
  bench->ArgName("channels")->Arg(16)->Arg(256)->Unit(benchmark::kMicrosecond);
}
BENCHMARK_CAPTURE(Tick, History, kHistory, true)->Apply(Lists);
BENCHMARK_CAPTURE(Tick, HistoryNoEvaluator, kHistory, false)->Apply(Lists);
BENCHMARK_CAPTURE(Tick, Statistics, kStatistics, true)->Apply(Lists);
BENCHMARK_CAPTURE(Tick, StatisticsNoEvaluator, kStatistics, false)->Apply(Lists);
// Tokens that touch: nothing about them can be known beforehand.
BENCHMARK_CAPTURE(Tick, TouchingNoEvaluator, kTouching, false)->Apply(Lists);

/// The share of the source in the ticks with history.
void Fetch(benchmark::State& state) {
  EquationMeter m(state.range(0), kHistory, false);
  for (auto _ : state) benchmark::DoNotOptimize(m.telvix.GetData(27, kEngineeringUnits));
}
BENCHMARK(Fetch)->Apply(Lists);

void Evaluate(benchmark::State& state, const char* text) {
  const auto evaluator = CreateMuParserEvaluator();
  const long before = Allocations();
  for (auto _ : state) benchmark::DoNotOptimize(evaluator->Evaluate(text));
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(Allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
}
BENCHMARK_CAPTURE(Evaluate, Slope, "(1.5-1.25)*1000.")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Evaluate, SixteenPlaces,
                  "(1.2345678901234567-.2345678901234567)/-3.1415926535897931+2.7182818284590451")
    ->Unit(benchmark::kMicrosecond);

void Normalise(benchmark::State& state) {
  EquationMeter m(state.range(0), "#0", true);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NormaliseEquation(m.meter, "(CH3-CH[T-26]3)*RATE/CH1ACRMS+CHA1MIN"));
  }
}
BENCHMARK(Normalise)->Apply(Lists);

/// What a key typed in the dialog costs: the check, and what can complete the word.
void Keystroke(benchmark::State& state) {
  EquationMeter m(state.range(0), "#0", true);
  EquationCheck check(m.meter);
  const auto channels = OfferedChannels(m.meter, [](std::int16_t) { return "Tank"; });
  const std::string text = "(CH3-CH[T-26]3)*RATE/CH1ACRMS+CH4MIN^2+CH1";
  for (auto _ : state) {
    benchmark::DoNotOptimize(check.Findings(text));
    benchmark::DoNotOptimize(CompletionsAt(text, text.size(), channels));
  }
}
BENCHMARK(Keystroke)->Apply(Lists);

}  // namespace
}  // namespace vantoscope::bench
