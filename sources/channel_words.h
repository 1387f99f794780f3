// How the signed 16-bit words of a channel and its values in engineering units come from each
// other: for the special channels, and for the ways in which a range is spread over the words.
#pragma once

#include <cstdint>

#include "meter/channel_number.h"
#include "sources/device.h"
#include "sources/range.h"

namespace vantoscope {

/// Number, name, range and words of a special channel. A digital input is a byte from 0 to 255, a
/// counter counts from 0 to 16384.
ChannelInfo SpecialChannel(std::int16_t number);

/// Sets the range of an analog channel and its words: -32768 at the low end, 32767 at the high one.
void SpreadOver(ChannelInfo& info, Range range);

/// Sets the range of an analog channel and its words: 0 in the middle, `steps` of them to each end.
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

/// The word behind a value of that channel, the nearest there is.
std::int16_t WordOf(const ChannelInfo& info, double value);

/// The value of a channel whose values somebody writes as numbers: the number itself, but for a
/// digital input the byte that it stands for, signed or not: -1 is 255.
double ValueOfNumber(const ChannelInfo& info, double number);

}  // namespace vantoscope
