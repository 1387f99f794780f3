#include "settings/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "presentation/window_behaviour.h"
#include "settings/settings_file.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

using test::Log;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::IsSupersetOf;
using ::testing::Not;

/// Meter Tank on list index 2, whose channel is number 3.
struct Tank : test::RecordingMeter {
  Tank() {
    telvix.channels.resize(3);
    telvix.channels[2].number = 3;
    meter.runtime.MeterName = "Tank";
    meter.runtime.ChannelIndex = 2;
    meter.runtime.SectionName = "Tank3";
    meter.runtime.IniFile = "Vantoscope.ini";
    form.resized = [this] { ResizeRule(meter); };
  }
  /// The log without the resize rule's entries.
  Log Orders() {
    Log orders;
    for (const std::string& entry : log) {
      if (entry != "MoveLabel" && !entry.starts_with("LabelFontSize")) orders.push_back(entry);
    }
    return orders;
  }
};

std::string Reading(const std::string& key) { return "Read Vantoscope.ini [Tank3] " + key; }

TEST(LoadSettings, FirstStartTakesTheDefaultsInOrder) {
  Tank tank;
  LoadSettings(tank.meter);
  EXPECT_THAT(tank.Orders(), ElementsAreArray(std::vector<std::string>{
                                 "ChannelNumber 2",
                                 Reading("Caption"),
                                 "Title Tank Channel 3",
                                 Reading("debug"),
                                 Reading("Foreground Color"),
                                 Reading("Background Color"),
                                 "BackColor 16777215",
                                 "LabelBackColor 16777215",
                                 Reading("High Limit Color"),
                                 Reading("Low Limit Color"),
                                 Reading("High Limit Value"),
                                 Reading("Low Limit Value"),
                                 Reading("Alarm Enabled"),
                                 Reading("AverageLength"),
                                 Reading("AverageMode"),
                                 Reading("ShowUnit"),
                                 Reading("ShowCaption"),
                                 Reading("Window Height"),
                                 "Height 1000",
                                 Reading("Window Width"),
                                 "Width 3000",
                                 Reading("Window Top"),
                                 Reading("Window Left"),
                                 Reading("Always On Top"),
                                 Reading("Transparency"),
                                 Reading("BorderWidth"),
                                 Reading("Math"),
                                 Reading("UserFormat"),
                                 Reading("MathUnit"),
                                 Reading("BorderStyle"),
                                 "BorderStyle 5",
                                 "Title Tank Channel 3",
                                 "Alpha 255",
                                 "Command1 on",
                             }));

  const MeterConfig& config = tank.meter.config;
  EXPECT_EQ(config.ForeColor, 0);
  EXPECT_EQ(config.HighLimitColor, 0x0000FF);
  EXPECT_EQ(config.LowLimitColor, 0xFF0000);
  EXPECT_EQ(config.HighLimit, 1000);
  EXPECT_EQ(config.LowLimit, -1000);
  EXPECT_EQ(config.AlarmEnabled, kFalse);
  EXPECT_EQ(config.ShowUnit, kFalse);
  EXPECT_EQ(config.ShowCaption, kTrue);
  EXPECT_EQ(config.DataMethod, 0);
  EXPECT_EQ(config.WindowSize, 3);
  EXPECT_EQ(config.MathText, "#0");
  EXPECT_EQ(config.MathUnit, "Unit");
  EXPECT_EQ(config.UserFormat, "");
  EXPECT_EQ(config.AlwaysOnTop, -1);
  EXPECT_EQ(config.Transparency, 100);
  EXPECT_EQ(config.BorderWidth, 0);
  EXPECT_EQ(config.DebugMode, kFalse);
}

/// The file's numbers as they reach the fields, one key a row.
TEST(LoadSettings, BringsEveryValueIntoItsRange) {
  struct Row {
    const char* key;
    const char* text;
    double (*field)(const MeterConfig&);
    double value;
  };
  const auto mode = [](const MeterConfig& c) -> double { return c.DataMethod; };
  const auto length = [](const MeterConfig& c) -> double { return c.WindowSize; };
  const auto alpha = [](const MeterConfig& c) -> double { return c.Transparency; };
  const auto border = [](const MeterConfig& c) -> double { return c.BorderWidth; };
  const auto top_most = [](const MeterConfig& c) -> double { return c.AlwaysOnTop; };
  const auto limit = [](const MeterConfig& c) -> double { return c.HighLimit; };
  const auto color = [](const MeterConfig& c) -> double { return c.ForeColor; };
  const auto alarm = [](const MeterConfig& c) -> double { return c.AlarmEnabled; };
  const auto caption = [](const MeterConfig& c) -> double { return c.ShowCaption; };
  const auto height = [](const MeterConfig& c) -> double { return c.WindowHeight; };
  const auto width = [](const MeterConfig& c) -> double { return c.WindowWidth; };
  const Row rows[] = {
      {"AverageMode", "9", mode, 6},
      {"AverageMode", "6.4", mode, 6},
      {"AverageMode", "2.5", mode, 2},
      {"AverageMode", "-1", mode, -1},
      {"AverageMode", "-1e9", mode, -32768},
      {"AverageLength", "2.5", length, 2},
      {"AverageLength", "3.5", length, 4},
      {"AverageLength", "16777217", length, 16777216},  // by way of a 32-bit float
      {"AverageLength", "1e12", length, 2147483647},
      {"AverageLength", "-20", length, -20},
      {"Transparency", "0", alpha, 1},
      {"Transparency", "300", alpha, 255},
      {"Transparency", "abc", alpha, 1},
      {"Transparency", "100000", alpha, 255},
      {"BorderWidth", "100", border, 64},
      {"BorderWidth", "64", border, 64},
      {"BorderWidth", "-3", border, 0},
      {"Always On Top", "-2", top_most, -2},
      {"Always On Top", "7", top_most, 7},
      {"High Limit Value", "", limit, 0},
      {"High Limit Value", "12,5", limit, 12},
      {"High Limit Value", "-1.25E-2 m", limit, -0.0125F},
      {"Foreground Color", "&HFF00&", color, 65280},
      {"Foreground Color", "&HFFFF", color, -1},
      {"Foreground Color", "99999999999", color, 2147483647},
      {"Alarm Enabled", "TRUE", alarm, -1},
      {"Alarm Enabled", "1", alarm, -1},
      {"Alarm Enabled", "perhaps", alarm, 0},
      {"ShowCaption", "", caption, -1},
      {"ShowCaption", "0", caption, 0},
      {"Window Height", "1500", height, 1500},
      {"Window Height", "0", height, 3900},  // no size: the window keeps its design size
      {"Window Width", "-3000", width, 6600},
  };
  for (const Row& row : rows) {
    Tank tank;
    tank.profile.values[row.key] = row.text;
    LoadSettings(tank.meter);
    EXPECT_EQ(row.field(tank.meter.config), row.value) << row.key << "=" << row.text;
  }
}

TEST(LoadSettings, PositionIsJudgedKeyByKey) {
  Tank tank;
  tank.profile.values = {{"Window Top", "X"}, {"Window Left", "300"}};
  LoadSettings(tank.meter);
  EXPECT_THAT(tank.log, Contains("Left 300"));
  EXPECT_THAT(tank.log, Not(Contains(::testing::StartsWith("Top "))));

  Tank small_x;
  small_x.profile.values = {{"Window Top", "x"}, {"Window Left", "-150.4"}};
  LoadSettings(small_x.meter);
  EXPECT_THAT(small_x.log, IsSupersetOf({"Top 0", "Left -150"}));
}

TEST(LoadSettings, LookOfTheWindow) {
  struct Row {
    const char* border_style;
    std::int16_t look;
    int alpha;
  };
  const Row rows[] = {
      {"5", kFramed, 255}, {"5.9", kFramed, 255}, {"0", kBare, 200},   {"2", kBare, 200},
      {"4.9", kBare, 200}, {"-0.5", kBare, 200},  {"abc", kBare, 200}, {"1e9", kBare, 200},
  };
  for (const Row& row : rows) {
    Tank tank;
    tank.profile.values = {{"BorderStyle", row.border_style}, {"Transparency", "200"}};
    LoadSettings(tank.meter);
    EXPECT_EQ(tank.form.border_style, row.look) << row.border_style;
    EXPECT_EQ(tank.form.alpha, row.alpha) << row.border_style;
    EXPECT_EQ(tank.form.command1, row.look == kFramed) << row.border_style;
  }
}

TEST(LoadSettings, CaptionNamesTheKindOfChannel) {
  const std::map<std::int16_t, std::string> titles = {
      {-1, "Tank Channel DigIn"}, {-2, "Tank Channel Cntr"}, {-3, "Tank Channel RCntr"},
      {999, "Tank Channel 999"},  {-4, "Tank Channel -4"},
  };
  for (const auto& [number, title] : titles) {
    Tank tank;
    tank.telvix.channels[2].number = number;
    LoadSettings(tank.meter);
    EXPECT_EQ(tank.form.title, title);
  }
  Tank empty;
  empty.profile.values["Caption"] = "";
  LoadSettings(empty.meter);
  EXPECT_EQ(empty.form.title, "Tank ");
}

TEST(SaveSettings, WritesAllKeysInOrder) {
  Tank tank;
  tank.meter.config = {.ForeColor = 0,
                       .BackColor = 16777215,
                       .HighLimitColor = 255,
                       .LowLimitColor = -1,
                       .HighLimit = 250,
                       .LowLimit = -12.5F,
                       .AlarmEnabled = 1,
                       .ShowUnit = kFalse,
                       .ShowCaption = kTrue,
                       .CaptionText = "Channel 3",
                       .DataMethod = -1,
                       .WindowSize = 1234567890,
                       .MathText = "(CH3-CH[T-1]3)*RATE",
                       .MathUnit = "m\xC2\xB3",
                       .UserFormat = "",
                       .WindowWidth = 3600,
                       .WindowHeight = 1500,
                       .AlwaysOnTop = -2,
                       .Transparency = 100,
                       .BorderWidth = 0,
                       .DebugMode = kFalse};
  tank.form.top = {1200};
  tank.form.left = {-2400};
  tank.form.width = {9999};  // bare: the framed size is in the fields
  tank.form.border_style = kBare;
  SaveSettings(tank.meter);

  std::vector<std::string> lines;
  for (const char* line : {"UserFormat=",
                           "Math=(CH3-CH[T-1]3)*RATE",
                           "MathUnit=m\xC2\xB3",
                           "Caption=Channel 3",
                           "Foreground Color=0",
                           "Background Color=16777215",
                           "High Limit Color=255",
                           "Low Limit Color=-1",
                           "High Limit Value=250",
                           "Low Limit Value=-12.5",
                           "Alarm Enabled=True",
                           "Window Height=1500",
                           "Window Width=3600",
                           "Window Top=1200",
                           "Window Left=-2400",
                           "Always On Top=-2",
                           "ShowUnit=False",
                           "ShowCaption=True",
                           "AverageLength=1234567890",
                           "AverageMode=-1",
                           "debug=False",
                           "Transparency=100",
                           "BorderWidth=0",
                           "BorderStyle=0"}) {
    lines.push_back(std::string("Write Vantoscope.ini [Tank3] ") + line);
  }
  EXPECT_THAT(tank.log, ElementsAreArray(lines));
}

TEST(SaveSettings, NumbersCarryTheLocalesSeparator) {
  Tank tank;
  tank.meter.runtime.DecimalSep = ",";
  tank.meter.config.HighLimit = 12.5F;
  tank.form.top = {7.5};
  SaveSettings(tank.meter);
  EXPECT_EQ(tank.profile.values["High Limit Value"], "12,5");
  EXPECT_EQ(tank.profile.values["Window Top"], "7,5");
}

/// What one meter saved, the next start of it saves again unchanged.
TEST(SaveSettings, LoadAndSaveAgainChangeNothing) {
  Tank first;
  LoadSettings(first.meter);
  SaveSettings(first.meter);
  first.profile.values["High Limit Value"] = "3.141593";
  first.profile.values["BorderStyle"] = "0";

  Tank second;
  second.profile.values = first.profile.values;
  LoadSettings(second.meter);
  SaveSettings(second.meter);
  EXPECT_EQ(second.profile.values, first.profile.values);
  EXPECT_EQ(second.profile.values.size(), kSettingsKeys);
}

TEST(SettingsTable, StandsInTheOrderOfItsKeys) {
  for (std::size_t i = 0; i < kSettingsKeys; ++i) {
    EXPECT_EQ(&EntryOf(kSettingsTable.at(i).key), &kSettingsTable.at(i)) << i;
  }
}

}  // namespace
}  // namespace vantoscope
