// SPDX-License-Identifier: GPL-3.0-or-later
// A meter's reader without a window: opens a device, ticks every 200 ms like a meter, and says at
// the end what came: mq_reader DEVICE SECONDS. One line of name=value pairs.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "meter/data_source.h"
#include "sources/mqtt/mqtt_device.h"
#include "sources/open_device.h"

using namespace vantoscope;
using namespace std::chrono;

namespace {

constexpr milliseconds kTick{200};

double CpuMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto milli = [](const timeval& t) {
    return 1e3 * static_cast<double>(t.tv_sec) + 1e-3 * static_cast<double>(t.tv_usec);
  };
  return milli(usage.ru_utime) + milli(usage.ru_stime);
}

double Quantile(std::vector<double>& sorted, double part) {
  return sorted.empty()
             ? 0
             : sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

int Run(const std::string& text, double run_seconds) {
  const DeviceText parts = ParseAnyDeviceText(text);
  MqttDevice device(parts.model, ParseMqttAddress(parts));
  device.Start();
  const auto start_by = steady_clock::now() + seconds(5);
  while (!device.GetData(100, kEngineeringUnits) && steady_clock::now() < start_by) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  const MqttCounts before = device.Counts();
  const double cpu_before = CpuMilliseconds();
  const auto begin = steady_clock::now();
  std::vector<double> ages;
  int ticks = 0;
  int empty = 0;
  for (auto next = begin; next - begin < duration<double>(run_seconds); next += kTick) {
    std::this_thread::sleep_until(next);
    ++ticks;
    if (!device.GetData(100, kEngineeringUnits)) ++empty;
    ages.push_back(1000 * device.DataFreshness().age.value_or(0));
  }
  const double elapsed = duration<double>(steady_clock::now() - begin).count();
  const MqttCounts after = device.Counts();
  std::ranges::sort(ages);
  std::printf(
      "ticks=%d empty=%d scans=%lld gaps=%lld lost=%lld age_p50=%.1f age_p99=%.1f age_max=%.1f "
      "cpu_percent=%.2f\n",
      ticks, empty, static_cast<long long>(after.scans - before.scans),
      static_cast<long long>(after.gaps - before.gaps),
      static_cast<long long>(after.missing - before.missing), Quantile(ages, 0.5),
      Quantile(ages, 0.99), Quantile(ages, 1), (CpuMilliseconds() - cpu_before) / elapsed / 10);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "use: mq_reader DEVICE SECONDS\n");
    return 2;
  }
  try {
    return Run(argv[1], std::atof(argv[2]));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mq_reader: %s\n", error.what());
    return 1;
  }
}
