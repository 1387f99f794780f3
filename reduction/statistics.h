// SPDX-License-Identifier: GPL-3.0-or-later
// The window statistics: one channel of one block to one number. Nothing lasts from block to block.
#pragma once

#include <cstdint>
#include <optional>

#include "meter/data_source.h"
#include "meter/meter.h"

namespace vantoscope {

/// Index of a statistic, in the order of MeterRuntime::StatisticNames.
enum StatisticIndex : std::int16_t {
  kStatisticMin = 0,
  kStatisticMax = 1,
  kStatisticAve = 2,
  kStatisticRms = 3,
  kStatisticAcRms = 4,
  kStatisticFreq = 5,
};

/// The statistic of one channel of `block` over its first MeterConfig::WindowSize samples; also
/// left in Reading. An Empty block gives 0.0 and any other index the current Reading, both without
/// touching Reading. Asks the source for ScaleHigh (min), ScaleLow (max) or SampleRate (freq).
double ChannelStatistic(Meter& meter, std::int16_t statistic, std::int16_t channel,
                        const std::optional<Block>& block);

}  // namespace vantoscope
