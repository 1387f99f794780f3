// The samples of libsigrok's packets as the 16-bit words of scans.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "sources/device.h"

namespace vantoscope {

/// -32767 to 32767, so that 0 is the middle of a range.
inline constexpr double kSigrokSteps = 32767;

/// One channel of samples x `width` values. What is beyond its range is clipped; an overflow is an
/// infinity, and a value that is no number counts as the lower end.
std::vector<std::int16_t> AnalogWords(std::span<const float> values, std::size_t width,
                                      std::size_t column, const ChannelInfo& channel);

/// Byte `place` of each sample of `width` bytes, as words of a digital input: the first of its
/// eight logic channels is bit 8.
std::vector<std::int16_t> LogicWords(std::span<const std::uint8_t> bytes, std::size_t width,
                                     std::size_t place);

}  // namespace vantoscope
