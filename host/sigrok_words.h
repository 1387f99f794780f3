// The samples of libsigrok's packets as values, channel by channel.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sources/device.h"

namespace vantoscope {

/// One channel of samples x `width` values. An overflow is an infinity, no reading is nan.
std::vector<double> AnalogValues(std::span<const float> values, std::size_t width,
                                 std::size_t column);

/// Byte `place` of each sample of `width` bytes: the values of a digital input. A sample that is
/// cut off is none.
std::vector<double> LogicValues(std::span<const std::uint8_t> bytes, std::size_t width,
                                std::size_t place);

}  // namespace vantoscope
