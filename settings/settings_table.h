// SPDX-License-Identifier: GPL-3.0-or-later
// The keys of a meter's section in the settings file, as one table: their names, their defaults and
// the texts that save writes.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "meter/meter.h"

namespace vantoscope {

/// In the order of writing; load has an order of its own.
enum class SettingsKey {
  UserFormat,
  Math,
  MathUnit,
  Caption,
  ForegroundColor,
  BackgroundColor,
  HighLimitColor,
  LowLimitColor,
  HighLimitValue,
  LowLimitValue,
  AlarmEnabled,
  WindowHeight,
  WindowWidth,
  WindowTop,
  WindowLeft,
  AlwaysOnTop,
  ShowUnit,
  ShowCaption,
  AverageLength,
  AverageMode,
  Debug,
  Transparency,
  BorderWidth,
  BorderStyle,
};

struct SettingsEntry {
  SettingsKey key;
  std::string_view name;
  /// The text that load takes for a missing key. For Caption see CaptionByChannel.
  std::string_view fallback;
  /// The text that save writes: from MeterConfig, and for position and frame from the window.
  std::string (*written)(Meter& meter);
};

inline constexpr auto kSettingsKeys = static_cast<std::size_t>(SettingsKey::BorderStyle) + 1;
/// One row for each key, in their order.
extern const std::array<SettingsEntry, kSettingsKeys> kSettingsTable;

const SettingsEntry& EntryOf(SettingsKey key);

/// In place of a number under Window Top and Window Left: nothing stored.
inline constexpr std::string_view kNoPosition = "X";

/// What CaptionText is as long as the file has none: "Channel 3", or the kind of a special channel.
std::string CaptionByChannel(std::int16_t channel_number);

}  // namespace vantoscope
