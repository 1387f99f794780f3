// SPDX-License-Identifier: GPL-3.0-or-later
// The samples of libsigrok's packets as values, channel by channel.
#pragma once

#include <libsigrok/libsigrok.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vantoscope {

/// The values of a packet, sample by sample and in each channel by channel; none for an encoding
/// that the library does not know. An overflow is an infinity, no reading is nan. With `shortest` a
/// 32-bit float stands for the shortest decimal number that it is nearest to, as a display has it:
/// 0.005 instead of 0.004999999888241291.
std::vector<double> AnalogValues(const sr_datafeed_analog& analog, bool shortest);

/// Every `width`-th value from the place `column` on.
std::vector<double> Column(std::span<const double> values, std::size_t width, std::size_t column);

/// The unit with what belongs to the quantity, as in "V DC" or "V AC RMS"; whether the range was
/// chosen by hand does not.
std::string UnitOf(const sr_datafeed_analog& analog);

/// Byte `place` of each sample of `width` bytes: the values of a digital input. A sample that is
/// cut off is none.
std::vector<double> LogicValues(std::span<const std::uint8_t> bytes, std::size_t width,
                                std::size_t place);

}  // namespace vantoscope
