#include "sources/channel_words.h"

#include <algorithm>
#include <cmath>

namespace vantoscope {
namespace {

std::uint8_t ByteOf(double number) {
  return static_cast<std::uint8_t>(std::llround(std::clamp(number, -128.0, 255.0)) & 255);
}

}  // namespace

ChannelInfo SpecialChannel(std::int16_t number) {
  ChannelInfo info;
  info.number = number;
  info.name = SpecialName(number);
  if (number == kDigitalInput) {
    info.high = 255;
    info.factor = 1.0 / 256;
  } else {
    info.high = 16384;
    info.factor = CounterCount(1) - CounterCount(0);
    info.offset = CounterCount(0);
  }
  return info;
}

void SpreadOver(ChannelInfo& info, Range range) {
  constexpr double kSteps = 65535;
  info.low = range.low;
  info.high = range.high;
  // Not the width over the steps: that of a very wide range is infinite.
  info.factor = range.high / kSteps - range.low / kSteps;
  info.offset = range.low + 32768 * info.factor;
}

void SpreadAroundMiddle(ChannelInfo& info, Range range, double steps) {
  info.low = range.low;
  info.high = range.high;
  info.factor = (range.high - range.low) / (2 * steps);
  info.offset = (range.high + range.low) / 2;
}

std::int16_t WordOf(const ChannelInfo& info, double value) {
  if (info.number == kDigitalInput) return DigitalWord(ByteOf(value));
  const double word = std::round((value - info.offset) / info.factor);
  return static_cast<std::int16_t>(std::clamp(word, -32768.0, 32767.0));
}

double ValueOfNumber(const ChannelInfo& info, double number) {
  return info.number == kDigitalInput ? ByteOf(number) : number;
}

}  // namespace vantoscope
