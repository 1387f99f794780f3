// SPDX-License-Identifier: GPL-3.0-or-later
#include "reduction/frequency.h"

#include <algorithm>
#include <cstddef>

namespace vantoscope {
namespace {

/// Two thresholds with a dead band between them, so that small ripple around the mean crosses
/// nothing. The band is centred on the mean, not on the middle of the range.
struct Thresholds {
  double UpperThreshold = 0;
  double LowerThreshold = 0;

  [[nodiscard]] bool Above(double x) const { return x > UpperThreshold; }
  [[nodiscard]] bool Below(double x) const { return x < LowerThreshold; }
};

Thresholds ThresholdsOf(std::span<const double> samples) {
  double Greatest = samples.front();
  double Least = samples.front();
  double Sum = 0;
  for (const double x : samples) {
    Sum += x;
    if (Greatest < x) Greatest = x;
    if (Least > x) Least = x;
  }
  const double Mean = Sum / static_cast<double>(samples.size());
  const double Band = (Greatest - Least) / 100;
  return {Mean + Band, Mean - Band};
}

struct Periods {
  std::ptrdiff_t count = 0;
  std::ptrdiff_t samples = 0;  ///< of all of them together
};

/// Whole periods between like crossings of the band: from fall to fall where the signal starts
/// above it, from rise to rise where it starts below, none where it starts inside.
Periods WholePeriods(std::span<const double> samples, const Thresholds& thresholds) {
  constexpr std::size_t kUnseen = 2;  // the first sample decides; the second crosses nothing
  const bool from_above = thresholds.Above(samples.front());
  if (samples.size() < kUnseen || !(from_above || thresholds.Below(samples.front()))) return {};
  const auto crosses = [&](double x) {
    return from_above ? thresholds.Below(x) : thresholds.Above(x);
  };
  const auto returns = [&](double x) {
    return from_above ? thresholds.Above(x) : thresholds.Below(x);
  };

  Periods periods;
  const auto first = std::find_if(samples.begin() + kUnseen, samples.end(), crosses);
  auto last = first;
  for (;;) {
    const auto back = std::find_if(last, samples.end(), returns);
    const auto next = std::find_if(back, samples.end(), crosses);
    if (next == samples.end()) break;
    ++periods.count;
    last = next;
  }
  periods.samples = last - first;
  return periods;
}

}  // namespace

double EstimateFrequency(std::span<const double> samples,
                         const std::function<double()>& sample_rate) {
  if (samples.empty()) return 0.0;
  const Periods periods = WholePeriods(samples, ThresholdsOf(samples));
  if (periods.count == 0) return 0.0;
  return sample_rate() * static_cast<double>(periods.count) / static_cast<double>(periods.samples);
}

}  // namespace vantoscope
