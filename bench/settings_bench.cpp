// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs one meter to load and to save its section of a file that 64 meters share. The CPU
// column is the one to look at: 20 ms for a save, 5 ms for a load are the limits.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "settings/profile_file.h"
#include "settings/settings.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/spy.h"

namespace vantoscope {
namespace {

/// A meter over the real file; only its source and its window are doubles.
struct Bench {
  test::ScratchFolder scratch;
  ProfileFile profile{scratch.Path()};
  test::SpyMeter seams;
  Platform platform{nullptr, nullptr, profile, seams};
  Meter meter{seams, seams, platform};

  Bench() {
    meter.runtime.DecimalSep = ".";
    meter.runtime.IniFile = "Vantoscope.ini";
    LoadSettings(meter);
    for (int i = 1; i <= 64; ++i) {
      meter.runtime.SectionName = "Tank" + std::to_string(i);
      SaveSettings(meter);
    }
  }

  /// Another value for every key.
  void ChangeAll() {
    MeterConfig& c = meter.config;
    for (Color* color : {&c.ForeColor, &c.BackColor, &c.HighLimitColor, &c.LowLimitColor}) {
      *color ^= 1;
    }
    c.HighLimit = -c.HighLimit;
    c.LowLimit = -c.LowLimit;
    for (Bool16* flag : {&c.AlarmEnabled, &c.ShowUnit, &c.ShowCaption, &c.DebugMode}) {
      *flag = ToBool16(*flag == kFalse);
    }
    for (std::string* text : {&c.CaptionText, &c.MathText, &c.MathUnit, &c.UserFormat}) {
      *text = *text == "a" ? "b" : "a";
    }
    for (std::int16_t* number :
         {&c.DataMethod, &c.AlwaysOnTop, &c.Transparency, &c.BorderWidth, &seams.border_style}) {
      *number ^= 1;
    }
    for (std::int32_t* number : {&c.WindowSize, &c.WindowWidth, &c.WindowHeight}) *number ^= 1;
    seams.top.value = -15 - seams.top.value;
    seams.left.value = -15 - seams.left.value;
  }
};

/// The section stands at the end of the file, where a search takes longest.
void Load(benchmark::State& state) {
  Bench bench;
  for (auto _ : state) {
    LoadSettings(bench.meter);
    bench.seams.log.clear();
  }
}
BENCHMARK(Load)->Unit(benchmark::kMillisecond);

void SaveWithEveryValueChanged(benchmark::State& state) {
  Bench bench;
  for (auto _ : state) {
    bench.ChangeAll();
    SaveSettings(bench.meter);
  }
}
BENCHMARK(SaveWithEveryValueChanged)->Unit(benchmark::kMillisecond);

void SaveUnchanged(benchmark::State& state) {
  Bench bench;
  for (auto _ : state) SaveSettings(bench.meter);
}
BENCHMARK(SaveUnchanged)->Unit(benchmark::kMillisecond);

std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The least that a load can cost: the file, read at once.
void PlainRead(benchmark::State& state) {
  const Bench bench;
  const std::string path = bench.profile.PathOf("Vantoscope.ini");
  for (auto _ : state) benchmark::DoNotOptimize(Content(path));
}
BENCHMARK(PlainRead)->Unit(benchmark::kMillisecond);

/// The least that a save can cost which loses nothing: the same bytes in a new file, on the disk,
/// that replaces the old one.
void PlainReplace(benchmark::State& state) {
  const Bench bench;
  const std::string path = bench.profile.PathOf("Vantoscope.ini");
  const std::string text = Content(path);
  const std::string fresh = path + ".new";
  for (auto _ : state) {
    const int file = open(fresh.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    if (file < 0 || write(file, text.data(), text.size()) < 0 || fsync(file) != 0) {
      state.SkipWithError("cannot write");
    }
    close(file);
    std::rename(fresh.c_str(), path.c_str());
  }
}
BENCHMARK(PlainReplace)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vantoscope
