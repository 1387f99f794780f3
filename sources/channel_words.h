// SPDX-License-Identifier: GPL-3.0-or-later
// How the signed 16-bit words of a channel and its values in engineering units come from each
// other, and what that means for its samples.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "meter/channel_number.h"
#include "sources/device.h"
#include "sources/range.h"

namespace vantoscope {

/// Number, name, range and words of a special channel. A digital input is a byte from 0 to 255, a
/// counter counts from 0 to 16384.
ChannelInfo SpecialChannel(std::int16_t number);

/// Makes a channel one of words and sets its range: word 0 in the middle, `steps` to each end.
void SpreadAroundMiddle(ChannelInfo& info, Range range, double steps);

/// From the words of one channel to its values; small, to be copied into a loop.
class WordScale {
 public:
  explicit WordScale(const ChannelInfo& info)
      : digital_(info.number == kDigitalInput), factor_(info.factor), offset_(info.offset) {}

  [[nodiscard]] double operator()(std::int16_t word) const {
    return digital_ ? DigitalByte(word) : offset_ + factor_ * word;
  }

 private:
  bool digital_;
  double factor_;
  double offset_;
};

/// The word behind a value of that channel, the nearest there is. A channel without words of its
/// own has its present range spread over all of them. What is missing is the lowest word.
std::int16_t WordOf(const ChannelInfo& info, double value);

/// Values of that channel as its samples.
Samples SamplesOf(const ChannelInfo& info, std::vector<double> values);
/// Samples of that channel as elements of a block, from the place `from` on; see Device::GetData.
/// Of a value that is missing there is no word: the element is nan.
void CopyAsElements(const ChannelInfo& info, std::int32_t mode, std::span<const std::int16_t> words,
                    double* to);
void CopyAsElements(const ChannelInfo& info, std::int32_t mode, std::span<const double> values,
                    double* to);

/// The value of a channel whose values somebody writes as numbers: the number itself, but for a
/// digital input the byte that it stands for, signed or not: -1 is 255.
double ValueOfNumber(const ChannelInfo& info, double number);

/// The numbers that somebody may write for a special channel: what its raw words hold.
Range NumbersOf(const ChannelInfo& special);

}  // namespace vantoscope
