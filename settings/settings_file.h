// The keys of a meter's section in the settings file: the one place where their names, defaults
// and written forms stand. In which order they are read stands in settings_load.cpp.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "meter/meter.h"

namespace vantoscope {

/// In the order of writing.
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

inline constexpr std::size_t kSettingsKeys = 24;
extern const std::array<SettingsEntry, kSettingsKeys> kSettingsTable;

const SettingsEntry& EntryOf(SettingsKey key);

/// In place of a number under Window Top and Window Left: nothing stored.
inline constexpr std::string_view kNoPosition = "X";

/// What CaptionText is as long as the file has none: "Channel 3", or the kind of a special channel.
std::string CaptionByChannel(std::int16_t channel_number);

}  // namespace vantoscope
