// SPDX-License-Identifier: GPL-3.0-or-later
// GetData of the simulator, of a replay and of a followed file, beside plain copies of as many
// numbers: at 1, 16 and 256 channels, and 3, 1000 and 32767 scans. `allocations` is per call.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/allocations.h"
#include "sources/open_device.h"

namespace vantoscope {
namespace {

constexpr std::int64_t kNow = 1'732'312'345'678'901'234;
constexpr int kRows = 40000;

/// CSV files that live as long as the program.
class Files {
 public:
  Files() {
    if (mkdtemp(folder_.data()) == nullptr) std::abort();
  }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;
  ~Files() {
    for (const auto& [channels, path] : paths_) std::remove(path.c_str());
    rmdir(folder_.c_str());
  }

  const std::string& WithChannels(int channels) {
    std::string& path = paths_[channels];
    if (!path.empty()) return path;
    path = folder_ + "/" + std::to_string(channels) + ".csv";
    std::ofstream file(path);
    for (int row = 0; row < kRows; ++row) {
      for (int channel = 0; channel < channels; ++channel) {
        file << (row * 7919 + channel * 104729) % 65536 - 32768
             << (channel + 1 < channels ? "," : "\n");
      }
    }
    return path;
  }

 private:
  std::string folder_ = "/tmp/vantoscope-bench-XXXXXX";
  std::map<int, std::string> paths_;
};

void Fetch(benchmark::State& state, const std::string& text) {
  std::int64_t now = kNow;
  const std::unique_ptr<Device> device = OpenDevice(text, [&] { return now; });
  device->Start();
  const auto scans = static_cast<std::int16_t>(state.range(1));
  const long before = bench::Allocations();
  for (auto _ : state) {
    now += 200'000'000;
    const std::optional<Block> block = device->GetData(scans, kEngineeringUnits);
    if (!block) state.SkipWithError("no block");
    benchmark::DoNotOptimize(block);
  }
  state.counters["allocations"] = benchmark::Counter(
      static_cast<double>(bench::Allocations() - before), benchmark::Counter::kAvgIterations);
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void Simulator(benchmark::State& state) {
  Fetch(state, "SM64:channels=" + std::to_string(state.range(0)));
}

void Replay(benchmark::State& state) {
  static Files files;
  Fetch(state, "FI64:" + files.WithChannels(static_cast<int>(state.range(0))) + "?loop&rate=1000");
}

void Follow(benchmark::State& state) {
  static Files files;
  Fetch(state, "FI64:" + files.WithChannels(static_cast<int>(state.range(0))) + "?follow");
}

/// A new block, filled from doubles in memory.
void PlainCopy(benchmark::State& state) {
  const auto channels = static_cast<std::size_t>(state.range(0));
  const auto scans = static_cast<std::size_t>(state.range(1));
  const std::vector<double> values(channels * scans, 1.5);
  for (auto _ : state) {
    Block block(channels, scans);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      std::copy_n(values.data() + channel * scans, scans, block.Channel(channel).begin());
    }
    benchmark::DoNotOptimize(block.Channel(0).data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

/// A new block, filled from 16-bit words with factor and offset: what a converter's data cost.
void WordCopy(benchmark::State& state) {
  const auto channels = static_cast<std::size_t>(state.range(0));
  const auto scans = static_cast<std::size_t>(state.range(1));
  const std::vector<std::int16_t> words(channels * scans, 15);
  double factor = 0.5;
  benchmark::DoNotOptimize(factor);
  for (auto _ : state) {
    Block block(channels, scans);
    for (std::size_t channel = 0; channel < channels; ++channel) {
      double* const to = block.Channel(channel).data();
      for (std::size_t i = 0; i < scans; ++i) to[i] = 1 + factor * words[channel * scans + i];
    }
    benchmark::DoNotOptimize(block.Channel(0).data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"channels", "scans"})->ArgsProduct({{1, 16, 256}, {3, 1000, 32767}});
}

BENCHMARK(PlainCopy)->Apply(Sizes);
BENCHMARK(WordCopy)->Apply(Sizes);
BENCHMARK(Simulator)->Apply(Sizes);
BENCHMARK(Replay)->Apply(Sizes);
BENCHMARK(Follow)->Apply(Sizes);

}  // namespace
}  // namespace vantoscope
