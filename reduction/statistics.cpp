// SPDX-License-Identifier: GPL-3.0-or-later
#include "reduction/statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "reduction/frequency.h"

namespace vantoscope {
namespace {

using Samples = std::span<const double>;

/// Adds up `term` of every sample in ascending order. The terms of a stretch are worked out side
/// by side first, as they do not depend on each other; the sum itself keeps its order, on which
/// its last bits depend.
template <class Term>
double SumInOrder(Samples samples, Term term) {
  constexpr std::size_t kStretch = 128;
  std::array<double, kStretch> terms;  // NOLINT: written before it is read, and zeroing costs
  double sum = 0;
  std::size_t at = 0;
  for (; at + kStretch <= samples.size(); at += kStretch) {
    for (std::size_t i = 0; i < kStretch; ++i) terms[i] = term(samples[at + i]);
    for (std::size_t i = 0; i < kStretch; ++i) sum += terms[i];
  }
  for (; at < samples.size(); ++at) sum += term(samples[at]);
  return sum;
}

/// The smaller of `start` and the least sample. A nan never wins.
double Least(Samples samples, double start) {
  for (const double x : samples) start = start > x ? x : start;
  return start;
}

double Greatest(Samples samples, double start) {
  for (const double x : samples) start = start < x ? x : start;
  return start;
}

/// Every sample is divided on its own: ten times 1.0 give 0.9999999999999999.
double Average(Samples samples) {
  const auto n = static_cast<double>(samples.size());
  return SumInOrder(samples, [n](double x) { return x / n; });
}

double RootMeanSquare(Samples samples) {
  const auto n = static_cast<double>(samples.size());
  return std::sqrt(SumInOrder(samples, [n](double x) { return x * x / n; }));
}

/// Two passes; the mean is one division of the sum, unlike Average.
double AcRootMeanSquare(Samples samples) {
  if (samples.empty()) return 0;
  const auto n = static_cast<double>(samples.size());
  const double mean = SumInOrder(samples, [](double x) { return x; }) / n;
  return std::sqrt(SumInOrder(samples, [n, mean](double x) {
    const double ac = x - mean;
    return ac * ac / n;
  }));
}

Samples Window(const Block& block, std::int16_t channel, std::int32_t window_size) {
  const Samples all = block.Channel(static_cast<std::size_t>(channel));
  return all.first(std::min(all.size(), static_cast<std::size_t>(std::max(window_size, 0))));
}

}  // namespace

double ChannelStatistic(Meter& meter, std::int16_t statistic, std::int16_t channel,
                        const std::optional<Block>& block) {
  if (!block) return 0.0;
  double& reading = meter.runtime.Reading;
  const Samples samples = Window(*block, channel, meter.config.WindowSize);
  switch (statistic) {
    case kStatisticMin:
      reading = Least(samples, meter.telvix.ScaleHigh(channel));
      break;
    case kStatisticMax:
      reading = Greatest(samples, meter.telvix.ScaleLow(channel));
      break;
    case kStatisticAve:
      reading = Average(samples);
      break;
    case kStatisticRms:
      reading = RootMeanSquare(samples);
      break;
    case kStatisticAcRms:
      reading = AcRootMeanSquare(samples);
      break;
    case kStatisticFreq:
      reading = EstimateFrequency(samples, [&meter] { return meter.telvix.SampleRate(); });
      break;
    default:
      break;
  }
  return reading;
}

}  // namespace vantoscope
