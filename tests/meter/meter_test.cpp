// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "meter/channel_label.h"
#include "meter/startup.h"
#include "meter/tick.h"
#include "tests/support/spy.h"
#include "text/characters.h"

namespace vantoscope::test {

TEST(StartUpTest, RunsInItsOrder) {
  SpyMeter m;
  m.platform.DecimalSeparator = [] { return ","; };
  m.channels = {{.number = 1}, {.number = 2, .low = -2000, .high = 500}};
  m.scans = [](int) { return Scans{{1}, {2}}; };
  m.stored["debug"] = "True";
  StartUp(m.meter, "-dSM64:rate=10 -nTank_Farm -i1");
  EXPECT_EQ(m.log.Text({"SetDeviceName", "StartupToggle", "Start", "DeviceName", "MoveLabel",
                        "?Caption", "Title", "?BorderStyle", "Command1", "ScaleHigh",
                        "SetWindowPos", "Timer1", "Message", "Evaluate"}),
            "SetDeviceName SM64:rate=10|StartupToggle -1|StartupToggle 0|Start|DeviceName|"
            "MoveLabel 0 0 325.5 174|?Caption|Title Tank Farm Channel 2|?BorderStyle|"
            "Title Tank Farm Channel 2|Command1 on|ScaleHigh 1|SetWindowPos -1|Timer1 on|Start|"
            "Message information [Vantoscope] #0|Start|Start|Evaluate 1.|Timer1 on|");
  EXPECT_EQ(m.places, std::set<std::string>{"Vantoscope.ini [Tank Farm2]"});
  EXPECT_EQ(m.runtime.DecimalSep, ",");
  EXPECT_EQ(m.runtime.DisplayFormat, "0.000");  // of the wider end, -2000
  EXPECT_EQ(m.runtime.PreparedEquation, "#0");
  EXPECT_EQ(m.label_text, "009000");
}

TEST(StartUpTest, KnowsTheKindOfTheChannel) {
  for (const auto& [number, special] : {std::pair(-3, kTrue), {-1, kTrue}, {999, kFalse}}) {
    SpyMeter m;
    m.SetNumbers({number});
    StartUp(m.meter, "");
    EXPECT_EQ(m.runtime.SpecialChannel, special) << number;
    EXPECT_EQ(m.places, std::set<std::string>{"Vantoscope.ini [1]"});
  }
}

TEST(StartUpTest, RefusesAnIndexOutsideTheListBeforeAnySetting) {
  for (const char* line : {"-dSM64 -nA -i1", "-dSM64 -nA -i-2", "-dSM64 -nA -i99999"}) {
    SpyMeter m;
    EXPECT_THROW(StartUp(m.meter, line), SourceError) << line;
    EXPECT_TRUE(m.places.empty());
  }
}

TEST(StartUpTest, BankSizeByModel) {
  for (const char* device : {"SM32", "SM35:rate=1", "SM36", "SM37", "\u00fcM32"})
    EXPECT_EQ(ChannelsPerBankOf(device), 16) << device;
  for (const char* device : {"SM64", "SM33", "SM34", "SM38", "SM3x", "SM", "", "S", "32"})
    EXPECT_EQ(ChannelsPerBankOf(device), 32) << device;
}

// The expected text tells whether there is to be a unit; without a block no window is too large.
TEST(TickTest, AsksTheSourceInItsOrder) {
  const std::tuple<int, int, std::string, std::string> rows[] = {
      {kMethodNone, 2, "LatestValue 1|", "8,500V"},
      {kMethodNone, 2, "LatestValue 1|", "8,500"},
      {7, 2, "LatestValue 1|", "8,500V"},
      {-1, 2, "LatestValue 1|", "8,500V"},
      {kMethodMin, 2, "GetData 2 1|ScaleHigh 1|", "1,000V"},
      {kMethodMax, 2, "GetData 2 1|ScaleLow 1|", "7,000V"},
      {kMethodAve, 999, "GetData 2 1|", "4,0000V"},
      {kMethodRms, 999, "GetData 2 1|", "5,0000"},
      {kMethodAcRms, 2, "GetData 2 1|", "3,000V"},
      {kMethodCalc, 999, "GetData 1 1|SampleRate|ChannelCount|Evaluate 2*7.|", "6,0000W"}};
  for (const auto& [method, number, asked, text] : rows) {
    const bool unit = IsLetter(text.back());
    SpyMeter m;
    m.SetNumbers({5, number});
    m.channels[0].unit = "A";
    m.channels[1].latest = 8.5;
    m.scans = [](int count) { return count == 1 ? Scans{{9}, {7}} : Scans{{9, 9}, {1, 7}}; };
    m.answer = 6;
    m.runtime.PreparedEquation = "2*#1";
    m.runtime.ChannelIndex = 1;
    m.runtime.DecimalSep = ",";
    m.config.ForeColor = 4;
    m.config.WindowSize = asked.starts_with("Latest") ? 40000 : 2;
    m.config.ShowUnit = unit ? 1 : kFalse;
    m.config.MathUnit = "W";
    m.config.DataMethod = static_cast<std::int16_t>(method);
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log.Text(), "ChannelNumber 1|" + asked + "LabelForeColor 4|" +
                                (unit && method != kMethodCalc ? "EngUnit 1|" : "") + "LabelText " +
                                text + "|");
  }
}

// The raw word is 0x1234, and (4660 + 32768) / 4 = 9357.
TEST(TickTest, SpecialChannelsGoTheirOwnWay) {
  const std::tuple<int, double, std::string> rows[] = {
      {-1, 4660, "LabelText 12|"},
      {-2, 4660, "LabelText 9357|"},
      {-3, 4660, "LabelText 9357|"},
      {-2, NAN, "LabelText nan|"},
      // No kind of its own goes on as an ordinary channel does.
      {-4, 4660, "LatestValue 1|LabelForeColor 0|EngUnit 1|LabelText 0.000V|"},
      {999, 4660, "LatestValue 1|LabelForeColor 0|EngUnit 1|LabelText 0.000V|"}};
  for (const auto& [number, word, shown] : rows) {
    SpyMeter m;
    m.SetNumbers({1, number});
    m.scans = [word = word](int) { return Scans{{-1}, {word}}; };
    m.runtime.ChannelIndex = 1;
    m.runtime.SpecialChannel = kTrue;
    m.runtime.Reading = 8;
    m.config.ShowUnit = kTrue;
    m.config.DataMethod = number < -3 || number > 0 ? kMethodNone : kMethodCalc;
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log.Text(), "GetData 1 0|ChannelNumber 1|" + shown);
  }
}

// A fault is an operation that fails, "Empty" and a count of scans, a list of more "Channels" than
// the block has, or a window that no block fits.
TEST(TickTest, AFaultLeavesTheLabelAndTheNextTickTriesAgain) {
  const std::tuple<std::int16_t, int, std::string> rows[] = {
      {kMethodNone, 2, "LatestValue"}, {kMethodNone, 2, "ChannelNumber"},
      {kMethodNone, 2, "EngUnit"},     {kMethodMin, 2, "ScaleHigh"},
      {kMethodMin, 32768, "none"},     {kMethodMin, -32769, "none"},
      {kMethodAve, 3, "none"},         {kMethodAve, 2, "GetData"},
      {kMethodAve, 2, "Empty 2"},      {kMethodCalc, 2, "GetData"},
      {kMethodCalc, 2, "SampleRate"},  {kMethodCalc, 2, "Empty 1"},
      {kMethodCalc, 2, "Empty 2"},     {kMethodCalc, 32768, "none"},
      {kMethodCalc, 2, "Evaluate"},    {kMethodCalc, 2, "Channels"}};
  for (const auto& [method, window, fault] : rows) {
    for (const Bool16 special : {kFalse, kTrue}) {
      SpyMeter m;
      m.SetNumbers(fault == "Channels" ? std::vector{1, 2} : std::vector{1});
      m.channels[0].latest = 8;
      m.runtime.SpecialChannel = special;
      m.runtime.PreparedEquation = "#ave0";
      m.runtime.NeedsStatistics = 1;
      m.runtime.Reading = 8;
      m.config.DataMethod = method;
      m.config.WindowSize = window;
      m.config.ShowUnit = kTrue;
      m.failing = {fault};
      const std::vector<double> held(window > 3 ? 40000 : 2, 1.5);
      m.scans = [&](int n) {
        return m.failing.contains("Empty " + std::to_string(n)) ? Scans{} : Scans{held};
      };
      Timer1Tick(m.meter);
      EXPECT_EQ(m.label_text, "009000") << method << fault;
      EXPECT_EQ(m.runtime.Reading, 8) << method << fault;
      m.failing.clear();
      m.SetNumbers({1});
      m.config.WindowSize = 2;
      Timer1Tick(m.meter);
      EXPECT_NE(m.label_text, "009000") << method << fault;
    }
  }
}

}  // namespace vantoscope::test
