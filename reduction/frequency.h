// SPDX-License-Identifier: GPL-3.0-or-later
// The frequency of a repeating signal by its threshold crossings in one block.
#pragma once

#include <functional>
#include <span>

namespace vantoscope {

/// Cycles per second of `samples`: whole periods between like crossings of a dead band around the
/// mean, one hundredth of the peak-to-peak range to each side. 0 when no whole period closes;
/// `sample_rate` (samples per second) is only asked for when one does.
double EstimateFrequency(std::span<const double> samples,
                         const std::function<double()>& sample_rate);

}  // namespace vantoscope
