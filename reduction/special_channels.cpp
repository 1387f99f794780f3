#include "reduction/special_channels.h"

#include "text/numbers.h"

namespace vantoscope {

std::string CounterText(std::int32_t word) {
  return std::to_string(RoundToInt32((word + 32768) / 4.0));
}

std::string DigitalText(std::int32_t word) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = (static_cast<std::uint32_t>(word) >> 8U) & 0xFFU;
  std::string text;
  if (byte >= 16) text += kDigits[byte / 16];
  text += kDigits[byte % 16];
  return text;
}

}  // namespace vantoscope
