#include "settings/settings.h"

#include <gtest/gtest.h>

#include "presentation/window_behaviour.h"
#include "tests/dialog/example_fields.h"
#include "tests/support/spy.h"

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
            "!Window Height=1000|!Window Width=3000|!Window Top=0|!Window Left=0|"
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

/// What the file says, and what the next save says after it.
TEST(SettingsTest, ALoadBringsEveryValueIntoItsRange) {
  const std::pair<const char*, std::map<std::string, std::string>> rows[] = {
      {"AverageMode", {{"9", "6"}, {"6.4", "6"}, {"2.5", "2"}, {"-1", "-1"}, {"-1e9", "-32768"}}},
      {"AverageLength",
       {{"2.5", "2"},
        {"3.5", "4"},
        {"-20", "-20"},
        {"1e12", "2147483647"},
        {"16777217", "16777216"}}},  // by way of a 32-bit float
      {"Transparency",
       {{"0", "1"}, {"300", "255"}, {"abc", "1"}, {"1e5", "255"}, {"254.5", "254"}}},
      {"BorderWidth", {{"100", "64"}, {"-3", "0"}, {"64", "64"}}},
      {"Always On Top", {{"7", "7"}, {"-2", "-2"}}},
      {"High Limit Value", {{"", "0"}, {"-1.25E-2 m", "-0.0125"}}},
      {"Foreground Color", {{"&HFF00&", "65280"}, {"99999999999", "2147483647"}, {"&HFFFF", "-1"}}},
      {"Alarm Enabled", {{"1", "True"}, {"perhaps", "False"}}},
      {"ShowCaption", {{"", "True"}, {"0", "False"}}},
      {"Math", {{"", ""}}},
      {"Window Height", {{"1500.5", "1500"}, {"0", "3900"}}},  // no size: the design size stays
      {"Window Width", {{"-3000", "6600"}, {"1", "1"}}},
      {"BorderStyle", {{"5.9", "5"}, {"4.9", "0"}, {"6", "0"}, {"-0.5", "0"}, {"1e9", "0"}}},
  };
  for (const auto& [key, texts] : rows) {
    for (const auto& [text, saved] : texts) {
      Tank tank({{key, text}});
      tank.resized = [&] { ResizeRule(tank.meter); };
      LoadSettings(tank.meter);
      SaveSettings(tank.meter);
      EXPECT_EQ(tank.stored[key], saved) << key << "=" << text;
    }
  }
}

TEST(SettingsTest, APositionIsJudgedKeyByKey) {
  const std::tuple<const char*, const char*, std::string> rows[] = {
      {"X", "300", "Left 300|"}, {"-150.4", "X", "Top -150|"}, {"x", "0.5", "Top 0|Left 0|"}};
  for (const auto& [top, left, placed] : rows) {
    Tank tank({{"Window Top", top}, {"Window Left", left}});
    LoadSettings(tank.meter);
    EXPECT_EQ(tank.log.Text({"Left", "Top"}), placed);
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
  Tank empty;
  empty.stored["Caption"] = "";
  LoadSettings(empty.meter);
  EXPECT_EQ(empty.title, "Tank ");
}

// A coordinate is a 32-bit float.
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
}

}  // namespace vantoscope::test
