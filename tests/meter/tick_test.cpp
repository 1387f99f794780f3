#include "meter/tick.h"

#include <gtest/gtest.h>

#include "tests/support/spy.h"

namespace vantoscope::test {

TEST(TickTest, AsksTheSourceInItsOrder) {
  const std::tuple<int, int, std::string, std::string> rows[] = {
      {kMethodNone, 2, "LatestValue 1|", "8.500V"},
      {7, 2, "LatestValue 1|", "8.500V"},
      {-1, 2, "LatestValue 1|", "8.500V"},
      {kMethodMin, 2, "GetData 2 1|ScaleHigh 1|", "1.000V"},
      {kMethodMax, 2, "GetData 2 1|ScaleLow 1|", "7.000V"},
      {kMethodAve, 999, "GetData 2 1|", "4.0000V"},
      {kMethodRms, 2, "GetData 2 1|", "5.000V"},
      {kMethodAcRms, 2, "GetData 2 1|", "3.000V"},
      {kMethodCalc, 999, "GetData 1 1|SampleRate|ChannelCount|Evaluate 2*7.|", "6.0000W"}};
  for (const auto& [method, number, asked, text] : rows) {
    SpyMeter m;
    m.SetNumbers({5, number});
    m.channels[1].latest = 8.5;
    m.scans = [](int count) { return count == 1 ? Scans{{9}, {7}} : Scans{{9, 9}, {1, 7}}; };
    m.answer = 6;
    m.runtime.PreparedEquation = "2*#1";
    m.runtime.ChannelIndex = 1;
    m.config.WindowSize = 2;
    m.config.ShowUnit = kTrue;
    m.config.MathUnit = "W";
    m.config.DataMethod = static_cast<std::int16_t>(method);
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log.Text(), "ChannelNumber 1|" + asked + "LabelForeColor 0|" +
                                (method == kMethodCalc ? "" : "EngUnit 1|") + "LabelText " + text +
                                "|");
  }
}

// The raw word is 0x1234, and (4660 + 32768) / 4 = 9357.
TEST(TickTest, SpecialChannelsGoTheirOwnWay) {
  const std::pair<int, std::string> rows[] = {
      {-1, "LabelText 12|"},
      {-2, "LabelText 9357|"},
      {-3, "LabelText 9357|"},
      // No kind of its own goes on as an ordinary channel does.
      {-4, "LatestValue 1|LabelForeColor 0|EngUnit 1|LabelText 0.000V|"},
      {999, "LatestValue 1|LabelForeColor 0|EngUnit 1|LabelText 0.000V|"}};
  for (const auto& [number, shown] : rows) {
    SpyMeter m;
    m.SetNumbers({1, number});
    m.scans = [](int) { return Scans{{-1}, {4660}}; };
    m.runtime.ChannelIndex = 1;
    m.runtime.SpecialChannel = kTrue;
    m.runtime.Reading = 8;
    m.config.ShowUnit = kTrue;
    m.config.DataMethod = number < -3 || number > 0 ? kMethodNone : kMethodCalc;
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log.Text(), "GetData 1 0|ChannelNumber 1|" + shown);
  }
}

// The fault: an operation that fails, or an "Empty" block, or a window that no block fits.
TEST(TickTest, AFaultLeavesTheLabelAndTheNextTickTriesAgain) {
  const std::tuple<std::int16_t, Bool16, int, std::string> rows[] = {
      {kMethodNone, kFalse, 3, "LatestValue"},
      {kMethodNone, kFalse, 3, "ChannelNumber"},
      {kMethodNone, kFalse, 3, "EngUnit"},
      {kMethodMin, kFalse, 2, "ScaleHigh"},
      {kMethodMin, kFalse, 32768, ""},
      {kMethodMin, kFalse, -32769, ""},
      {kMethodAve, kFalse, 3, ""},
      {kMethodAve, kFalse, 2, "GetData"},
      {kMethodAve, kFalse, 2, "Empty"},
      {kMethodNone, kTrue, 3, "Empty"},
      {kMethodNone, kTrue, 3, "GetData"},
      {kMethodCalc, kFalse, 3, "SampleRate"}};
  for (const auto& [method, special, window, fault] : rows) {
    SpyMeter m;
    m.runtime.SpecialChannel = special;
    m.config.DataMethod = method;
    m.config.WindowSize = window;
    m.config.ShowUnit = kTrue;
    m.failing = {fault};
    m.scans = [&](int) { return m.failing.contains("Empty") ? Scans{} : Scans{{1, 2}}; };
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log.Text({"LabelText"}), "") << method << fault;
    m.failing.clear();
    m.config.WindowSize = 2;
    Timer1Tick(m.meter);
    EXPECT_NE(m.log.Text({"LabelText"}), "") << method << fault;
  }
}

TEST(TickTest, WithoutAWindowItsSizeDoesNotMatter) {
  SpyMeter m;
  m.config.WindowSize = 40000;
  Timer1Tick(m.meter);
  EXPECT_EQ(m.label_text, "0.000");
}

}  // namespace vantoscope::test
