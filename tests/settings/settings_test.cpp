// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/settings.h"

#include <gtest/gtest.h>

#include "presentation/window_behaviour.h"
#include "tests/dialog/example_fields.h"
#include "tests/support/spy.h"
#include "text/words.h"

namespace vantoscope::test {

/// Meter Tank on list index 2, whose channel is number 3.
struct Tank : SpyMeter {
  explicit Tank(std::map<std::string, std::string> values = {}) {
    SetNumbers({1, 2, 3});
    stored = std::move(values);
    runtime.MeterName = "Tank";
    runtime.ChannelIndex = 2;
    runtime.SectionName = "Tank3";
    runtime.IniFile = "Vantoscope.ini";
  }
};

TEST(SettingsTest, AFirstStartTakesTheDefaultsInOrderAndSavesThem) {
  Tank tank;
  LoadSettings(tank.meter);
  EXPECT_EQ(tank.log.Text(),
            "ChannelNumber 2|?Caption|Title Tank Channel 3|?debug|?Foreground Color|"
            "?Background Color|BackColor 16777215|LabelBackColor 16777215|?High Limit Color|"
            "?Low Limit Color|?High Limit Value|?Low Limit Value|?Alarm Enabled|?AverageLength|"
            "?AverageMode|?ShowUnit|?ShowCaption|?Window Height|Height 1000|?Window Width|"
            "Width 3000|?Window Top|?Window Left|?Always On Top|?Transparency|?BorderWidth|?Math|"
            "?UserFormat|?MathUnit|?BorderStyle|BorderStyle 5|Title Tank Channel 3|Alpha 255|"
            "Command1 on|");
  tank.log.clear();
  SaveSettings(tank.meter);
  EXPECT_EQ(tank.log.Text(),
            "!UserFormat=|!Math=#0|!MathUnit=Unit|!Caption=Channel 3|!Foreground Color=0|"
            "!Background Color=16777215|!High Limit Color=255|!Low Limit Color=16711680|"
            "!High Limit Value=1000|!Low Limit Value=-1000|!Alarm Enabled=False|"
            "!Window Height=1000|!Window Width=3000|!Window Top=450|!Window Left=300|"
            "!Always On Top=-1|!ShowUnit=False|!ShowCaption=True|!AverageLength=3|"
            "!AverageMode=0|!debug=False|!Transparency=100|!BorderWidth=0|!BorderStyle=5|");
  EXPECT_EQ(tank.places, std::set<std::string>{"Vantoscope.ini [Tank3]"});
}

// All that the dialog can change, and all that it cannot. The window is bare: the framed size
// stays.
TEST(SettingsTest, EverythingSurvivesARestart) {
  Tank tank;
  ApplyDialogFields(kEveryField, tank.meter);
  EXPECT_EQ(FillDialogFields(tank.meter), kEveryField);
  tank.config.CaptionText = "Level";
  tank.config.UserFormat = "0.0";
  tank.config.DebugMode = kTrue;
  tank.config.WindowWidth = 3600;
  tank.config.WindowHeight = 1500;
  tank.top = {1200};
  tank.left = {-2400};
  tank.border_style = kBare;
  SaveSettings(tank.meter);
  EXPECT_EQ(
      tank.log.Text(),
      "!UserFormat=0.0|!Math= CH1*2 |!MathUnit=\u00B5m/m|!Caption=Level|!Foreground Color=66051|"
      "!Background Color=658188|!High Limit Color=1052946|!Low Limit Color=2105634|"
      "!High Limit Value=12.5|!Low Limit Value=-1E+10|!Alarm Enabled=True|"
      "!Window Height=1500|!Window Width=3600|!Window Top=1200|!Window Left=-2400|"
      "!Always On Top=-1|!ShowUnit=False|!ShowCaption=True|!AverageLength=1234|"
      "!AverageMode=3|!debug=True|!Transparency=77|!BorderWidth=9|!BorderStyle=0|");
  Tank next(tank.stored);
  next.resized = [&] { ResizeRule(next.meter); };
  LoadSettings(next.meter);
  EXPECT_EQ(next.log.Text({"Left", "Top", "Height", "Width", "BorderStyle", "Alpha", "Command1"}),
            "Height 1500|Width 3600|Top 1200|Left -2400|BorderStyle 0|BorderStyle 0|Alpha "
            "77|Command1 off|");
  EXPECT_EQ(FillDialogFields(next.meter), kEveryField);
  SaveSettings(next.meter);
  EXPECT_EQ(next.stored, tank.stored);
}

// What the file says, word by word, and what the next save says after it. A length goes by way of a
// 32-bit float; X and a size below 1 keep what the window has.
TEST(SettingsTest, ALoadBringsEveryValueIntoItsRange) {
  const std::tuple<const char*, const char*, std::string> rows[] = {
      {"AverageMode", "9 6.4 2.5 -1 -1e9", "6 6 2 -1 -32768 "},
      {"AverageLength", "2.5 3.5 -20 1e12 16777217", "2 4 -20 2147483647 16777216 "},
      {"Transparency", "0 300 abc 1e5 254.5", "1 255 1 255 254 "},
      {"BorderWidth", "100 -3 64", "64 0 64 "},
      {"Always On Top", "7 -2", "7 -2 "},
      {"High Limit Value", " -1.25E-2m 1e39", "0 -0.0125 3.402823E+38 "},
      {"Foreground Color", "&HFF00& 99999999999 &HFFFF", "65280 2147483647 -1 "},
      {"Alarm Enabled", "1 perhaps TRUE", "True False True "},
      {"ShowCaption", " 0", "True False "},
      {"Math", "", " "},
      {"Caption", "", " "},
      {"Window Top", "X x -150.4 0.5", "450 0 -150 0 "},
      {"Window Left", "X 100", "300 100 "},
      {"Window Height", "1500.5 0", "1500 3900 "},
      {"Window Width", "-3000 1", "6600 1 "},
      {"BorderStyle", "5.9 4.9 6 -0.5 1e9", "5 0 0 0 0 "}};
  for (const auto& [key, texts, expected] : rows) {
    std::string saved;
    for (const std::string_view text : CutAtBlanks(texts)) {
      Tank tank({{key, std::string(text)}});
      tank.resized = [&] { ResizeRule(tank.meter); };
      LoadSettings(tank.meter);
      SaveSettings(tank.meter);
      saved += tank.stored[key] + " ";
    }
    EXPECT_EQ(saved, expected) << key;
  }
}

TEST(SettingsTest, TheCaptionNamesTheKindOfChannel) {
  const std::pair<std::int16_t, std::string> rows[] = {
      {-1, "DigIn"}, {-2, "Cntr"}, {-3, "RCntr"}, {999, "999"}, {-4, "-4"}};
  for (const auto& [number, kind] : rows) {
    Tank tank;
    tank.channels[2].number = number;
    LoadSettings(tank.meter);
    EXPECT_EQ(tank.title, "Tank Channel " + kind);
  }
}

// A coordinate is a 32-bit float. A comma is written, and ends a number that is read.
TEST(SettingsTest, NumbersAreWrittenWithTheLocalesSeparator) {
  Tank tank;
  tank.runtime.DecimalSep = ",";
  tank.config.HighLimit = 12.5F;
  tank.top = {7.5};
  tank.left = {16777217};
  SaveSettings(tank.meter);
  EXPECT_EQ(tank.stored["High Limit Value"], "12,5");
  EXPECT_EQ(tank.stored["Window Top"], "7,5");
  EXPECT_EQ(tank.stored["Window Left"], "16777216");
  ApplyDialogFields(FillDialogFields(tank.meter), tank.meter);
  EXPECT_EQ(tank.config.HighLimit, 12);
}

}  // namespace vantoscope::test
