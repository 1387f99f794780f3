#include "host/sigrok_words.h"

#include <algorithm>
#include <cmath>

#include "meter/channel_number.h"

namespace vantoscope {

std::vector<std::int16_t> AnalogWords(std::span<const float> values, std::size_t width,
                                      std::size_t column, const ChannelInfo& channel) {
  std::vector<std::int16_t> words;
  for (std::size_t at = column; at < values.size(); at += width) {
    const double word = (static_cast<double>(values[at]) - channel.offset) / channel.factor;
    const double clipped = word >= -kSigrokSteps ? std::min(word, kSigrokSteps) : -kSigrokSteps;
    words.push_back(static_cast<std::int16_t>(std::lround(clipped)));
  }
  return words;
}

std::vector<std::int16_t> LogicWords(std::span<const std::uint8_t> bytes, std::size_t width,
                                     std::size_t place) {
  std::vector<std::int16_t> words;
  for (std::size_t at = place; at < bytes.size(); at += width) {
    words.push_back(DigitalWord(bytes[at]));
  }
  return words;
}

}  // namespace vantoscope
