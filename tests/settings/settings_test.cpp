#include "settings/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "presentation/window_behaviour.h"
#include "tests/support/recording.h"

namespace vantoscope {
namespace {

using test::Log;
using ::testing::Contains;
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
  /// The log without the resize rule's entries; a read is `?` and its key, a write `!` and its
  /// line.
  Log Orders() {
    const std::string place = " Vantoscope.ini [Tank3] ";
    Log orders;
    for (const std::string& entry : log) {
      if (entry == "MoveLabel" || entry.starts_with("LabelFontSize")) continue;
      const std::size_t at = entry.find(place);
      orders.push_back(at == std::string::npos ? entry
                                               : (entry.starts_with("Read") ? "?" : "!") +
                                                     entry.substr(at + place.size()));
    }
    return orders;
  }
};

/// The entries of a log that is written with a bar behind each.
Log Entries(const std::string& text) {
  Log entries;
  std::istringstream stream(text);
  for (std::string entry; std::getline(stream, entry, '|');) entries.push_back(entry);
  return entries;
}

TEST(LoadSettings, FirstStartTakesTheDefaultsInOrder) {
  Tank tank;
  LoadSettings(tank.meter);
  EXPECT_EQ(
      tank.Orders(),
      Entries("ChannelNumber 2|?Caption|Title Tank Channel 3|?debug|?Foreground Color|"
              "?Background Color|BackColor 16777215|LabelBackColor 16777215|?High Limit Color|"
              "?Low Limit Color|?High Limit Value|?Low Limit Value|?Alarm Enabled|?AverageLength|"
              "?AverageMode|?ShowUnit|?ShowCaption|?Window Height|Height 1000|?Window Width|"
              "Width 3000|?Window Top|?Window Left|?Always On Top|?Transparency|?BorderWidth|?Math|"
              "?UserFormat|?MathUnit|?BorderStyle|BorderStyle 5|Title Tank Channel 3|Alpha 255|"
              "Command1 on|"));
  tank.log.clear();
  SaveSettings(tank.meter);
  EXPECT_EQ(
      tank.Orders(),
      Entries("!UserFormat=|!Math=#0|!MathUnit=Unit|!Caption=Channel 3|!Foreground Color=0|"
              "!Background Color=16777215|!High Limit Color=255|!Low Limit Color=16711680|"
              "!High Limit Value=1000|!Low Limit Value=-1000|!Alarm Enabled=False|"
              "!Window Height=1000|!Window Width=3000|!Window Top=0|!Window Left=0|"
              "!Always On Top=-1|!ShowUnit=False|!ShowCaption=True|!AverageLength=3|"
              "!AverageMode=0|!debug=False|!Transparency=100|!BorderWidth=0|!BorderStyle=5|"));
}

/// What the file says, and what the next save says after it.
TEST(LoadSettings, BringsEveryValueIntoItsRange) {
  const std::map<std::string, std::map<std::string, std::string>> rows = {
      {"AverageMode", {{"9", "6"}, {"2.5", "2"}, {"-1", "-1"}, {"-1e9", "-32768"}}},
      {"AverageLength",
       {{"2.5", "2"},
        {"3.5", "4"},
        {"-20", "-20"},
        {"1e12", "2147483647"},
        {"16777217", "16777216"}}},  // by way of a 32-bit float
      {"Transparency", {{"0", "1"}, {"300", "255"}, {"abc", "1"}, {"100000", "255"}}},
      {"BorderWidth", {{"100", "64"}, {"-3", "0"}}},
      {"Always On Top", {{"7", "7"}}},
      {"High Limit Value", {{"", "0"}, {"-1.25E-2 m", "-0.0125"}}},
      {"Foreground Color", {{"&HFF00&", "65280"}, {"99999999999", "2147483647"}}},
      {"Alarm Enabled", {{"1", "True"}, {"perhaps", "False"}}},
      {"ShowCaption", {{"", "True"}, {"0", "False"}}},
      {"Window Height", {{"1500", "1500"}, {"0", "3900"}}},  // no size: the design size stays
      {"Window Width", {{"-3000", "6600"}}},
  };
  for (const auto& [key, texts] : rows) {
    for (const auto& [text, saved] : texts) {
      Tank tank;
      tank.profile.values[key] = text;
      LoadSettings(tank.meter);
      SaveSettings(tank.meter);
      EXPECT_EQ(tank.profile.values[key], saved) << key << "=" << text;
    }
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

TEST(LoadSettings, OnlyAStyleOfFiveIsFramed) {
  for (const std::string style : {"5", "5.9", "0", "4.9", "-0.5", "abc", "1e9"}) {
    Tank tank;
    tank.profile.values = {{"BorderStyle", style}, {"Transparency", "200"}};
    LoadSettings(tank.meter);
    const bool framed = style.starts_with('5');
    EXPECT_EQ(tank.form.border_style, framed ? kFramed : kBare) << style;
    EXPECT_EQ(tank.form.alpha, framed ? 255 : 200) << style;
    EXPECT_EQ(tank.form.command1, framed) << style;
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
                       .WindowSize = 1234567936,
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

  EXPECT_EQ(tank.Orders(),
            Entries("!UserFormat=|!Math=(CH3-CH[T-1]3)*RATE|!MathUnit=m\xC2\xB3|!Caption=Channel 3|"
                    "!Foreground Color=0|!Background Color=16777215|!High Limit Color=255|"
                    "!Low Limit Color=-1|!High Limit Value=250|!Low Limit Value=-12.5|"
                    "!Alarm Enabled=True|!Window Height=1500|!Window Width=3600|!Window Top=1200|"
                    "!Window Left=-2400|!Always On Top=-2|!ShowUnit=False|!ShowCaption=True|"
                    "!AverageLength=1234567936|!AverageMode=-1|!debug=False|!Transparency=100|"
                    "!BorderWidth=0|!BorderStyle=0|"));

  // The next start saves the same again.
  Tank next;
  next.profile.values = tank.profile.values;
  LoadSettings(next.meter);
  SaveSettings(next.meter);
  EXPECT_EQ(next.profile.values, tank.profile.values);
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

}  // namespace
}  // namespace vantoscope
