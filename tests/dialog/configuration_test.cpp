// The click on Command1 over recording seams: what is called, in which order, and what the meter is
// left as.
#include "settings/command1_click.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

using testing::ElementsAre;

constexpr const char* kInvalid =
    "Message information [Vanto Scope] Data Window is invalid, adjustment applied";
constexpr const char* kTooLarge =
    "Message information [Vanto Scope] Data Window is too large for this Telvix configuration, "
    "adjustment applied";

const ShowDialog kCancel = [](const DialogFields&) { return std::nullopt; };
const ShowDialog kOk = [](const DialogFields& fields) { return fields; };

ShowDialog OkAfter(const std::function<void(DialogFields&)>& edit) {
  return [edit](DialogFields fields) {
    edit(fields);
    return fields;
  };
}

// Two channels, 1 and 2, a meter that is top-most and running.
struct RunningMeter : RecordingMeter {
  RunningMeter() {
    telvix.channels = {RecordingChannel{.number = 1}, RecordingChannel{.number = 2}};
    telvix.blocks.emplace_back(MakeBlock({{3}, {4}}));
    meter.config.AlwaysOnTop = -1;
    meter.config.WindowSize = 3;
    meter.config.MathText = "CH1+CH2";
    form.timer1 = true;
  }
};

// The entries of the log among `kinds`, which compare by their first word.
Log Among(const Log& log, const std::vector<std::string>& kinds) {
  Log kept;
  for (const std::string& entry : log) {
    const std::string kind = entry.substr(0, entry.find(' '));
    if (std::ranges::find(kinds, kind) != kinds.end()) kept.push_back(entry);
  }
  return kept;
}

TEST(Command1Click, StopsTheTickAndThePlaceOnTopBeforeTheDialog) {
  RunningMeter m;
  Command1Click(m.meter, [&](const DialogFields&) {
    m.log.push_back("Dialog");
    EXPECT_FALSE(m.form.timer1);
    EXPECT_EQ(m.meter.config.AlwaysOnTop, -1);
    return std::nullopt;
  });
  EXPECT_THAT(m.log, ElementsAre("Timer1 off", "SetWindowPos -2", "Dialog", "SetWindowPos -1",
                                 "ChannelCount", "ChannelCount", "Start", "Timer1 on"));
}

TEST(Command1Click, OkTakesTheFieldsBeforeTheOrderIsAppliedAndDrawsNothing) {
  RunningMeter m;
  Command1Click(m.meter, OkAfter([](DialogFields& fields) {
                  fields.Check4 = false;
                  fields.WSText = "20";
                  fields.Option = kMethodRms;
                  fields.CalText = "CH99";
                  fields.BGLabel = 0x123456;
                  fields.FGLabel = 0x654321;
                  fields.TransparencyText = "9";
                  fields.TBCheck = true;
                }));
  EXPECT_EQ(m.form.z_order, -2);
  EXPECT_EQ(m.meter.config.WindowSize, 20);
  EXPECT_EQ(m.meter.config.DataMethod, kMethodRms);
  // An equation that is not in use is kept and not looked at.
  EXPECT_EQ(m.meter.config.MathText, "CH99");
  EXPECT_EQ(m.meter.runtime.PreparedEquation, "");
  EXPECT_TRUE(m.form.timer1);
  EXPECT_THAT(Among(m.log, {"BackColor", "LabelBackColor", "LabelForeColor", "Alpha", "BorderStyle",
                            "Title", "Width", "Height", "Left", "Top", "LabelText"}),
              ElementsAre());
}

TEST(Command1Click, CancelTakesNothing) {
  RunningMeter m;
  m.meter.config.HighLimit = 1.23456789F;  // more digits than its text holds
  m.meter.config.BorderWidth = 64;
  m.meter.config.AlwaysOnTop = 7;
  Command1Click(m.meter, kCancel);
  EXPECT_EQ(m.meter.config.HighLimit, 1.23456789F);
  EXPECT_EQ(m.meter.config.BorderWidth, 64);
  EXPECT_EQ(m.form.z_order, 7);
}

TEST(Command1Click, AdjustsAWindowThatDoesNotFitTheChannelList) {
  struct Row {
    std::size_t channels;
    std::int32_t before;
    std::int32_t after;
    Log boxes;
  };
  const Row kRows[] = {
      {4, 0, 1, {kInvalid}},
      {0, 100, 1, {kInvalid}},
      {4, -7, 1, {kInvalid}},
      {8, 5000, 4096, {kTooLarge}},
      {3, 20000, 10923, {kTooLarge}},
      {2, 16383, 16383, {}},
      {2, 16384, 16384, {kTooLarge}},
      {1, 32767, 32768, {kTooLarge}},
      {1, 32766, 32766, {}},
      {64, 2147483647, 512, {kTooLarge}},  // the product needs more than 32 bits
  };
  for (const ShowDialog& close : {kCancel, kOk}) {
    for (const Row& row : kRows) {
      RunningMeter m;
      m.telvix.channels.assign(row.channels, RecordingChannel{});
      m.meter.config.WindowSize = row.before;
      m.form.while_message = [&] { EXPECT_FALSE(m.form.timer1); };
      // What OK reads from the field is at most 32767 and at least 0, which leads to the same.
      Command1Click(m.meter, close);
      EXPECT_EQ(m.meter.config.WindowSize, row.after) << row.channels << "x" << row.before;
      EXPECT_EQ(Among(m.log, {"Message"}), row.boxes) << row.channels << "x" << row.before;
      EXPECT_TRUE(m.form.timer1);
    }
  }
}

TEST(Command1Click, PreparesTheEquationOfACalcMeterAfterCancelToo) {
  for (const ShowDialog& close : {kCancel, kOk}) {
    RunningMeter m;
    m.meter.config.DataMethod = kMethodCalc;
    Command1Click(m.meter, close);
    EXPECT_EQ(m.meter.runtime.PreparedEquation, "#0+#1");
    EXPECT_THAT(Among(m.log, {"Evaluate", "Message", "LabelText"}), ElementsAre("Evaluate 3.+4."));
    EXPECT_TRUE(m.form.timer1);
  }
}

TEST(Command1Click, ABrokenEquationStopsTheMeterUntilItIsMended) {
  RunningMeter m;
  m.meter.config.DataMethod = kMethodCalc;
  m.meter.config.DebugMode = kTrue;
  Command1Click(m.meter, OkAfter([](DialogFields& fields) { fields.CalText = "CH1+CH99"; }));
  EXPECT_EQ(m.meter.config.MathText, "CH1+CH99");
  EXPECT_FALSE(m.form.timer1);
  // The box with the normalised text comes when the failed meter already says so.
  EXPECT_THAT(Among(m.log, {"Message", "LabelText", "Stop"}),
              ElementsAre("Message critical [] Channel(s) not found in Telvix (#0+#99)", "Stop",
                          "LabelText Error!", "Message information [Vantoscope] #0+#99"));

  m.log.clear();
  Command1Click(m.meter, OkAfter([](DialogFields& fields) { fields.CalText = "CH1-CH2"; }));
  EXPECT_TRUE(m.form.timer1);
  EXPECT_THAT(Among(m.log, {"Message", "LabelText", "Stop"}),
              ElementsAre("Message information [Vantoscope] #0-#1"));
}

TEST(Command1Click, AFailureIsReportedAndNothingIsLost) {
  struct Row {
    std::int16_t method;
    bool start_fails;
    std::string message;
  };
  const Row kRows[] = {
      {kMethodNone, true, "Start failed"},
      {kMethodCalc, true, "Start failed"},
      {kMethodCalc, false, "Failed to evaluate the equation. Please fix the error and start again"},
  };
  for (const Row& row : kRows) {
    RunningMeter m;
    m.telvix.failing["Start"] = row.start_fails;
    m.evaluator_failing = !row.start_fails;
    Command1Click(m.meter, OkAfter([&](DialogFields& fields) {
                    fields.Option = row.method;
                    fields.WSText = "12";
                  }));
    EXPECT_EQ(m.meter.config.WindowSize, 12);
    EXPECT_EQ(m.form.label_text, "Error!");
    EXPECT_FALSE(m.form.timer1);
    EXPECT_THAT(Among(m.log, {"Message"}), ElementsAre("Message critical [] " + row.message));
  }
}

}  // namespace
}  // namespace vantoscope::test
