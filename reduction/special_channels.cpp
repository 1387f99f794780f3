// SPDX-License-Identifier: GPL-3.0-or-later
#include "reduction/special_channels.h"

#include "meter/channel_number.h"
#include "text/numbers.h"

namespace vantoscope {

std::string CounterText(std::int32_t word) {
  return std::to_string(RoundToInt32(CounterCount(word)));
}

std::string DigitalText(std::int32_t word) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const std::uint8_t byte = DigitalByte(word);
  std::string text;
  if (byte >= 16) text += kDigits[byte / 16];
  text += kDigits[byte % 16];
  return text;
}

}  // namespace vantoscope
