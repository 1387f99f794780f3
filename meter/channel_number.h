// SPDX-License-Identifier: GPL-3.0-or-later
// What the number of a channel tells: whether it is a special channel (a digital input or a
// counter), what such a channel is called, and what its raw word stands for.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "text/characters.h"

namespace vantoscope {

inline constexpr std::int16_t kDigitalInput = -1;
inline constexpr std::int16_t kCounter = -2;
inline constexpr std::int16_t kReverseCounter = -3;
/// The analog channel that is shown with one digit more.
inline constexpr std::int16_t kFineChannel = 999;

/// The special channels and their names.
inline constexpr std::array<std::pair<std::int16_t, std::string_view>, 3> kSpecialChannels{
    {{kDigitalInput, "DigIn"}, {kCounter, "Cntr"}, {kReverseCounter, "RCntr"}}};

/// DigIn, Cntr or RCntr; empty when the number is that of no special channel.
constexpr std::string_view SpecialName(std::int16_t number) {
  for (const auto& [special, name] : kSpecialChannels) {
    if (number == special) return name;
  }
  return {};
}

/// The number of the special channel of that name, small letters or capitals; 0 for any other name.
constexpr std::int16_t SpecialNumber(std::string_view name) {
  for (const auto& [number, special] : kSpecialChannels) {
    if (SameIgnoringCase(name, special)) return number;
  }
  return 0;
}

constexpr bool IsSpecial(std::int16_t number) { return !SpecialName(number).empty(); }

/// The byte of a digital input: bits 8 to 15 of its raw word.
constexpr std::uint8_t DigitalByte(std::int32_t word) {
  return static_cast<std::uint8_t>((static_cast<std::uint32_t>(word) >> 8U) & 0xFFU);
}
constexpr std::int16_t DigitalWord(std::uint8_t byte) {
  return static_cast<std::int16_t>(byte << 8U);
}

/// The count of a counter of either direction: four words a count, 0 at word -32768.
constexpr double CounterCount(std::int32_t word) { return (word + 32768) / 4.0; }
/// The inverse; a word up to a count of 16383.75.
constexpr double CounterWord(double count) { return 4 * count - 32768; }

}  // namespace vantoscope
