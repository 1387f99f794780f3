// SPDX-License-Identifier: GPL-3.0-or-later
#include "meter/channel_label.h"

#include <cmath>

#include "text/numbers.h"
#include "text/utf8.h"

namespace vantoscope {
namespace {

/// The character of a code, as text.
std::string Character(int code) {
  const auto byte = [](int value) { return static_cast<char>(value); };
  if (code < 0x80) return {byte(code)};
  if (code < 0x800) return {byte(0xC0 | code >> 6), byte(0x80 | (code & 0x3F))};
  return {byte(0xE0 | code >> 12), byte(0x80 | (code >> 6 & 0x3F)), byte(0x80 | (code & 0x3F))};
}

}  // namespace

std::string ChannelLabel(int number, int channels_per_bank) {
  const int bank = (number - 1) / channels_per_bank;
  const int place = (number - 1) % channels_per_bank + 1;
  int code = bank;
  if (code >= 9) ++code;
  if (code > 14) ++code;
  const std::string letter = code == 0 ? "" : Character('@' + code);
  return letter + std::to_string(place);
}

std::int16_t ChannelsPerBankOf(const std::string& device_name) {
  const double model =
      std::floor(NumberFromText(FirstCharacters(WithoutFirstCharacters(device_name, 2), 2)));
  return model == 32 || model == 35 || model == 36 || model == 37 ? 16 : 32;
}

}  // namespace vantoscope
