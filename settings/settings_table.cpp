// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/settings_table.h"

#include "meter/channel_number.h"
#include "text/booleans.h"
#include "text/numbers.h"
#include "text/picture.h"

namespace vantoscope {
namespace {

std::string Number(const Meter& meter, double value) {
  return FormatPicture(value, "", meter.runtime.DecimalSep);
}

std::string Coordinate(const Meter& meter, Twips position) {
  return Number(meter, static_cast<double>(NarrowToFloat(position.value)));
}

template <std::string MeterConfig::*field>
std::string AsText(Meter& meter) {
  return meter.config.*field;
}

template <auto field>
std::string AsDecimal(Meter& meter) {
  return Number(meter, meter.config.*field);
}

template <float MeterConfig::*field>
std::string AsFloat(Meter& meter) {
  return FloatText(meter.config.*field, meter.runtime.DecimalSep);
}

template <Bool16 MeterConfig::*field>
std::string AsBool(Meter& meter) {
  return TextFromBool(meter.config.*field);
}

std::string TopOfWindow(Meter& meter) { return Coordinate(meter, meter.form.Top()); }
std::string LeftOfWindow(Meter& meter) { return Coordinate(meter, meter.form.Left()); }
std::string BorderOfWindow(Meter& meter) { return Number(meter, meter.form.BorderStyle()); }

}  // namespace

// clang-format off
constexpr std::array<SettingsEntry, kSettingsKeys> kSettingsTable{{
    {SettingsKey::UserFormat, "UserFormat", "", AsText<&MeterConfig::UserFormat>},
    {SettingsKey::Math, "Math", "#0", AsText<&MeterConfig::MathText>},
    {SettingsKey::MathUnit, "MathUnit", "Unit", AsText<&MeterConfig::MathUnit>},
    {SettingsKey::Caption, "Caption", "", AsText<&MeterConfig::CaptionText>},
    {SettingsKey::ForegroundColor, "Foreground Color", "0", AsDecimal<&MeterConfig::ForeColor>},
    {SettingsKey::BackgroundColor, "Background Color", "&HFFFFFF&", AsDecimal<&MeterConfig::BackColor>},
    {SettingsKey::HighLimitColor, "High Limit Color", "&HFF&", AsDecimal<&MeterConfig::HighLimitColor>},
    {SettingsKey::LowLimitColor, "Low Limit Color", "&HFF0000&", AsDecimal<&MeterConfig::LowLimitColor>},
    {SettingsKey::HighLimitValue, "High Limit Value", "1000", AsFloat<&MeterConfig::HighLimit>},
    {SettingsKey::LowLimitValue, "Low Limit Value", "-1000", AsFloat<&MeterConfig::LowLimit>},
    {SettingsKey::AlarmEnabled, "Alarm Enabled", "false", AsBool<&MeterConfig::AlarmEnabled>},
    {SettingsKey::WindowHeight, "Window Height", "1000", AsDecimal<&MeterConfig::WindowHeight>},
    {SettingsKey::WindowWidth, "Window Width", "3000", AsDecimal<&MeterConfig::WindowWidth>},
    {SettingsKey::WindowTop, "Window Top", kNoPosition, TopOfWindow},
    {SettingsKey::WindowLeft, "Window Left", kNoPosition, LeftOfWindow},
    {SettingsKey::AlwaysOnTop, "Always On Top", "-1", AsDecimal<&MeterConfig::AlwaysOnTop>},
    {SettingsKey::ShowUnit, "ShowUnit", "false", AsBool<&MeterConfig::ShowUnit>},
    {SettingsKey::ShowCaption, "ShowCaption", "true", AsBool<&MeterConfig::ShowCaption>},
    {SettingsKey::AverageLength, "AverageLength", "3", AsDecimal<&MeterConfig::WindowSize>},
    {SettingsKey::AverageMode, "AverageMode", "0", AsDecimal<&MeterConfig::DataMethod>},
    {SettingsKey::Debug, "debug", "0", AsBool<&MeterConfig::DebugMode>},
    {SettingsKey::Transparency, "Transparency", "100", AsDecimal<&MeterConfig::Transparency>},
    {SettingsKey::BorderWidth, "BorderWidth", "0", AsDecimal<&MeterConfig::BorderWidth>},
    {SettingsKey::BorderStyle, "BorderStyle", "5", BorderOfWindow},
}};
// clang-format on

static_assert(
    [] {
      for (std::size_t row = 0; row < kSettingsKeys; ++row) {
        if (kSettingsTable[row].key != static_cast<SettingsKey>(row)) return false;
      }
      return true;
    }(),
    "row i holds key i");

const SettingsEntry& EntryOf(SettingsKey key) {
  return kSettingsTable[static_cast<std::size_t>(key)];
}

std::string CaptionByChannel(std::int16_t channel_number) {
  const std::string_view special = SpecialName(channel_number);
  return "Channel " + (special.empty() ? std::to_string(channel_number) : std::string(special));
}

}  // namespace vantoscope
