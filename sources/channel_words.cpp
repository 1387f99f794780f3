// SPDX-License-Identifier: GPL-3.0-or-later
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
  info.encoding = Encoding::kInt16;
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

void SpreadAroundMiddle(ChannelInfo& info, Range range, double steps) {
  info.low = range.low;
  info.high = range.high;
  info.encoding = Encoding::kInt16;
  info.factor = (range.high - range.low) / (2 * steps);
  info.offset = (range.high + range.low) / 2;
}

std::int16_t WordOf(const ChannelInfo& info, double value) {
  constexpr double kLowest = -32768;
  constexpr double kSteps = 65535;
  if (std::isnan(value)) return static_cast<std::int16_t>(kLowest);
  if (info.number == kDigitalInput) return DigitalWord(ByteOf(value));
  double word = (value - info.offset) / info.factor;
  if (IsSpecial(info.number)) {
    word = CounterWord(value);
  } else if (info.encoding == Encoding::kFloat64) {
    // Not the width over the steps: that of a very wide range is infinite.
    const double step = info.high / kSteps - info.low / kSteps;
    word = kLowest + (step > 0 ? value / step - info.low / step : 0);
  }
  return static_cast<std::int16_t>(std::clamp(std::round(word), kLowest, kLowest + kSteps));
}

Samples SamplesOf(const ChannelInfo& info, std::vector<double> values) {
  if (info.encoding == Encoding::kFloat64) return values;
  std::vector<std::int16_t> words(values.size());
  std::ranges::transform(values, words.begin(), [&](double value) { return WordOf(info, value); });
  return words;
}

void CopyAsElements(const ChannelInfo& info, std::int32_t mode, std::span<const std::int16_t> words,
                    double* to) {
  if (mode == kRawWords) {
    std::ranges::copy(words, to);
  } else {
    std::ranges::transform(words, to, WordScale(info));
  }
}

void CopyAsElements(const ChannelInfo& info, std::int32_t mode, std::span<const double> values,
                    double* to) {
  if (mode == kRawWords) {
    std::ranges::transform(
        values, to, [&](double value) { return std::isnan(value) ? value : WordOf(info, value); });
  } else {
    std::ranges::copy(values, to);
  }
}

double ValueOfNumber(const ChannelInfo& info, double number) {
  return info.number == kDigitalInput && !std::isnan(number) ? ByteOf(number) : number;
}

Range NumbersOf(const ChannelInfo& special) {
  if (special.number == kDigitalInput) return {.low = -128, .high = 255};  // a byte, signed or not
  return {.low = special.low, .high = special.high};
}

}  // namespace vantoscope
