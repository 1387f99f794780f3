// SPDX-License-Identifier: GPL-3.0-or-later
// The click on Command1 over spies: what is called, in which order, what OK takes, and what the
// meter is left as.
#include "settings/command1_click.h"

#include <gtest/gtest.h>

#include "tests/support/spy.h"

namespace vantoscope::test {

// What the dialog cannot show comes from settings files of old.
TEST(DialogFieldsTest, ValuesWithoutAShape) {
  for (const int order : {-2, 0, 1}) {
    SpyMeter m;
    m.config.ShowUnit = 1;
    m.runtime.ToolWindowFrame = 7;
    m.config.DataMethod = -1;
    m.config.AlwaysOnTop = static_cast<std::int16_t>(order);
    const DialogFields f = FillDialogFields(m.meter);
    EXPECT_EQ(std::tuple(f.Check4, f.ShowUnitCheck, f.CaptionCheck, f.TBCheck),
              std::tuple(false, true, false, true));
    EXPECT_EQ(f.Option, std::nullopt);
    ApplyDialogFields(f, m.meter);
    EXPECT_EQ(std::tuple(m.config.AlwaysOnTop, m.config.ShowUnit, m.runtime.ToolWindowFrame),
              std::tuple(-2, kTrue, kTrue));
    EXPECT_EQ(m.config.DataMethod, -1);
  }
}

TEST(DialogFieldsTest, OkBringsNumbersIntoTheirRange) {
  const std::tuple<const char*, int, int, int> rows[] = {
      {"", 0, 0, 1},      {"-5", 0, 0, 1},       {"0.5", 0, 0, 1},
      {"2.5", 2, 2, 2},   {"3.5", 4, 4, 4},      {"32", 32, 32, 32},
      {"33", 33, 32, 33}, {"256", 256, 32, 255}, {"4e4", 32767, 32, 255}};
  for (const auto& [text, window_size, border_width, transparency] : rows) {
    SpyMeter m;
    DialogFields fields;
    fields.WSText = fields.BorderWidthText = fields.TransparencyText = text;
    ApplyDialogFields(fields, m.meter);
    EXPECT_EQ(std::tuple(m.config.WindowSize, m.config.BorderWidth, m.config.Transparency),
              std::tuple(window_size, border_width, transparency))
        << text;
  }
}

const ShowDialog kCancel = [](const DialogFields&) { return std::nullopt; };

ShowDialog OkWith(std::string DialogFields::*field, const char* text) {
  return [=](DialogFields fields) { return fields.*field = text, fields; };
}

// Two channels, 1 and 2, a meter that is top-most and running.
struct RunningMeter : SpyMeter {
  explicit RunningMeter(std::int16_t method = kMethodNone) {
    SetNumbers({1, 2});
    scans = [](int) { return Scans{{3}, {4}}; };
    config.AlwaysOnTop = -1;
    config.WindowSize = 3;
    config.MathText = "CH1+CH2";
    config.DataMethod = method;
    timer1 = true;
  }
};

TEST(Command1ClickTest, OkTakesTheFieldsBeforeTheyCountAndDrawsNothing) {
  RunningMeter m;
  Command1Click(m.meter, [](DialogFields fields) {
    fields.Check4 = false;
    fields.WSText = "0";
    fields.Option = kMethodRms;
    fields.CalText = "CH99";
    fields.BGLabel = fields.FGLabel = 0x123456;
    fields.TransparencyText = "9";
    return fields;
  });
  EXPECT_EQ(m.log.Text(),
            "Timer1 off|SetWindowPos -2|SetWindowPos -2|ChannelCount|Message information [Vanto "
            "Scope] Data Window is invalid, adjustment applied|ChannelCount|Start|Timer1 on|");
  EXPECT_EQ(m.config.DataMethod, kMethodRms);
  EXPECT_EQ(m.config.MathText, "CH99");  // an equation that is not in use is kept, not looked at
}

TEST(Command1ClickTest, CancelTakesNothingAndTheMeterRunsAgain) {
  RunningMeter m;
  m.config.HighLimit = 1.23456789F;  // more digits than its text holds
  m.config.BorderWidth = 64;
  m.config.AlwaysOnTop = 7;
  Command1Click(m.meter, [&](const DialogFields&) { return m.log.Add("Dialog"), std::nullopt; });
  EXPECT_EQ(m.config.HighLimit, 1.23456789F);
  EXPECT_EQ(m.config.BorderWidth, 64);
  EXPECT_EQ(m.log.Text(),
            "Timer1 off|SetWindowPos -2|Dialog|SetWindowPos 7|ChannelCount|"
            "ChannelCount|Start|Timer1 on|");
}

TEST(Command1ClickTest, AdjustsAWindowThatDoesNotFitTheChannelList) {
  const std::string box = "Message information [Vanto Scope] Data Window is ";
  const std::string invalid = box + "invalid, adjustment applied|";
  const std::string large = box + "too large for this Telvix configuration, adjustment applied|";
  const std::tuple<std::size_t, int, int, std::string> rows[] = {
      {4, 0, 1, invalid},         {0, 100, 1, invalid},     {4, -7, 1, invalid},
      {8, 5000, 4096, large},     {3, 20000, 10923, large}, {2, 16383, 16383, ""},
      {2, 16384, 16384, large},   {1, 32766, 32766, ""},    {1, 32767, 32768, large},
      {64, INT32_MAX, 512, large}};
  for (const auto& [count, before, after, boxes] : rows) {
    RunningMeter m;
    m.channels.resize(count);
    m.config.WindowSize = before;
    m.while_message = [&] { EXPECT_FALSE(m.timer1); };
    Command1Click(m.meter, kCancel);
    EXPECT_EQ(m.config.WindowSize, after) << count << "x" << before;
    EXPECT_EQ(m.log.Text({"Message"}), boxes) << count << "x" << before;
    EXPECT_TRUE(m.timer1);
  }
}

// The box with the normalised text comes when the failed meter already says so.
TEST(Command1ClickTest, ABrokenEquationStopsTheMeterUntilItIsMended) {
  RunningMeter m(kMethodCalc);
  m.config.DebugMode = kTrue;
  const auto click = [&](const ShowDialog& dialog) {
    m.log.clear();
    Command1Click(m.meter, dialog);
    return m.log.Text({"Evaluate", "Message", "LabelText", "Stop"});
  };
  EXPECT_EQ(click(OkWith(&DialogFields::CalText, "CH1+CH99")),
            "Message critical [] Channel(s) not found in Telvix (#0+#99)|Stop|LabelText Error!|"
            "Message information [Vantoscope] #0+#99|");
  EXPECT_EQ(m.config.MathText, "CH1+CH99");
  EXPECT_FALSE(m.timer1);
  const std::string mended = "Evaluate 3.-4.|Message information [Vantoscope] #0-#1|";
  EXPECT_EQ(click(OkWith(&DialogFields::CalText, "CH1-CH2")), mended);
  EXPECT_EQ(click(kCancel), mended);
  EXPECT_TRUE(m.timer1);
}

TEST(Command1ClickTest, AFailingSourceIsReportedAndNothingIsLost) {
  for (const std::int16_t method : {kMethodNone, kMethodCalc}) {
    RunningMeter m(method);
    m.failing = {"Start"};
    Command1Click(m.meter, OkWith(&DialogFields::WSText, "12"));
    EXPECT_EQ(m.config.WindowSize, 12);
    EXPECT_EQ(m.log.Text({"LabelText", "Message"}),
              "LabelText Error!|Message critical [] Start failed|");
    EXPECT_FALSE(m.timer1);
  }
}

}  // namespace vantoscope::test
