#include "host/sigrok_words.h"

namespace vantoscope {

std::vector<double> AnalogValues(std::span<const float> values, std::size_t width,
                                 std::size_t column) {
  std::vector<double> result;
  for (std::size_t at = column; at < values.size(); at += width) {
    result.push_back(static_cast<double>(values[at]));
  }
  return result;
}

std::vector<double> LogicValues(std::span<const std::uint8_t> bytes, std::size_t width,
                                std::size_t place) {
  std::vector<double> result;
  for (std::size_t at = place; at < bytes.size(); at += width) {
    result.push_back(static_cast<double>(bytes[at]));
  }
  return result;
}

}  // namespace vantoscope
