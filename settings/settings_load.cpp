// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "presentation/window_behaviour.h"
#include "settings/settings.h"
#include "settings/settings_table.h"
#include "text/booleans.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

/// The values of the meter's section, each by its own rule of reading.
class Section {
 public:
  explicit Section(Meter& meter) : meter_(meter) {}

  std::string Text(SettingsKey key) { return Text(key, EntryOf(key).fallback); }
  std::string Text(SettingsKey key, std::string_view fallback) {
    return meter_.platform.profile.GetPrivateProfileString(
        meter_.runtime.SectionName, EntryOf(key).name, fallback, meter_.runtime.IniFile);
  }

  double Number(SettingsKey key) { return NumberFromText(Text(key)); }
  float Float(SettingsKey key) { return NarrowToFloat(Number(key)); }
  std::int16_t Int16(SettingsKey key) { return RoundToInt16(Number(key)); }
  std::int32_t Int32(SettingsKey key) { return RoundToInt32(Number(key)); }

  /// A text that is no boolean, which only a hand edit can leave, reads as the key's default.
  Bool16 Bool(SettingsKey key) {
    const auto value = BoolFromText(Text(key));
    return value ? *value : BoolFromText(EntryOf(key).fallback).value_or(kFalse);
  }

  /// Nothing where no position is stored.
  std::optional<Twips> Position(SettingsKey key) {
    const std::string text = Text(key);
    if (text == kNoPosition) return std::nullopt;
    return Twips{static_cast<double>(RoundToInt32(NumberFromText(text)))};
  }

 private:
  Meter& meter_;
};

constexpr float kLastDataMethod = kMethodCalc;
constexpr std::int16_t kWidestBorder = 64;

}  // namespace

// The window still has its design frame while it takes size and position: its resize event writes
// WindowHeight and WindowWidth, and may do so only while they are the framed size. The frame comes
// last, with the alpha that goes with it.
void LoadSettings(Meter& meter) {
  MeterConfig& config = meter.config;
  MeterWindow& form = meter.form;
  Section section(meter);

  config.CaptionText =
      section.Text(SettingsKey::Caption,
                   CaptionByChannel(meter.telvix.ChannelNumber(meter.runtime.ChannelIndex)));
  form.SetTitle(meter.runtime.MeterName + " " + config.CaptionText);
  config.DebugMode = section.Bool(SettingsKey::Debug);
  config.ForeColor = section.Int32(SettingsKey::ForegroundColor);
  config.BackColor = section.Int32(SettingsKey::BackgroundColor);
  form.SetBackColor(config.BackColor);
  form.SetLabelBackColor(config.BackColor);
  config.HighLimitColor = section.Int32(SettingsKey::HighLimitColor);
  config.LowLimitColor = section.Int32(SettingsKey::LowLimitColor);
  config.HighLimit = section.Float(SettingsKey::HighLimitValue);
  config.LowLimit = section.Float(SettingsKey::LowLimitValue);
  config.AlarmEnabled = section.Bool(SettingsKey::AlarmEnabled);
  config.WindowSize = RoundToInt32(static_cast<double>(section.Float(SettingsKey::AverageLength)));
  config.DataMethod = RoundToInt16(
      static_cast<double>(std::min(section.Float(SettingsKey::AverageMode), kLastDataMethod)));
  config.ShowUnit = section.Bool(SettingsKey::ShowUnit);
  config.ShowCaption = section.Bool(SettingsKey::ShowCaption);

  const auto size = [&](SettingsKey key, std::int32_t& field, Twips (MeterWindow::*get)(),
                        void (MeterWindow::*set)(Twips)) {
    field = section.Int32(key);
    if (field < 1) {  // no size at all: the window keeps the one it has
      field = RoundToInt32((form.*get)().value);
    } else {
      (form.*set)({static_cast<double>(field)});
    }
  };
  size(SettingsKey::WindowHeight, config.WindowHeight, &MeterWindow::Height,
       &MeterWindow::SetHeight);
  size(SettingsKey::WindowWidth, config.WindowWidth, &MeterWindow::Width, &MeterWindow::SetWidth);
  if (const auto top = section.Position(SettingsKey::WindowTop)) form.SetTop(*top);
  if (const auto left = section.Position(SettingsKey::WindowLeft)) form.SetLeft(*left);

  config.AlwaysOnTop = section.Int16(SettingsKey::AlwaysOnTop);
  config.Transparency =
      std::clamp(section.Int16(SettingsKey::Transparency), std::int16_t{1}, std::int16_t{255});
  config.BorderWidth =
      std::clamp(section.Int16(SettingsKey::BorderWidth), std::int16_t{0}, kWidestBorder);
  config.MathText = section.Text(SettingsKey::Math);
  config.UserFormat = section.Text(SettingsKey::UserFormat);
  config.MathUnit = section.Text(SettingsKey::MathUnit);

  form.SetBorderStyle(RoundToInt16(std::floor(section.Number(SettingsKey::BorderStyle))));
  if (form.BorderStyle() == kFramed) {
    ShowFramed(meter);
  } else {
    ShowBare(meter);
  }
}

}  // namespace vantoscope
