#include "settings/dialog_fields.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

// A meter in which every field differs from its default and from every other field.
void SetEveryField(Meter& meter) {
  MeterConfig& config = meter.config;
  config.ForeColor = 0x010203;
  config.BackColor = 0x0a0b0c;
  config.HighLimitColor = 0x101112;
  config.LowLimitColor = 0x202122;
  config.HighLimit = 12.5F;
  config.LowLimit = -1e10F;
  config.AlarmEnabled = kTrue;
  config.ShowUnit = kFalse;
  config.ShowCaption = kTrue;
  config.DataMethod = kMethodAve;
  config.WindowSize = 1234;
  config.MathText = " CH1*2 ";
  config.MathUnit = "µm/m";
  config.AlwaysOnTop = -1;
  config.Transparency = 77;
  config.BorderWidth = 9;
  meter.runtime.ChannelIndex = 2;
  meter.runtime.ToolWindowFrame = kFalse;
}

const DialogFields kEveryField{
    .Check4 = true,
    .FGLabel = 0x010203,
    .BGLabel = 0x0a0b0c,
    .HLLabel = 0x101112,
    .LLLabel = 0x202122,
    .HLText = "12.5",
    .LLText = "-1E+10",
    .ChnIdxText = "2",
    .EnableAlarmCheck = true,
    .CalText = " CH1*2 ",
    .CalUnitText = "µm/m",
    .WSText = "1234",
    .TBCheck = false,
    .ShowUnitCheck = false,
    .CaptionCheck = true,
    .BorderWidthText = "9",
    .TransparencyText = "77",
    .Option = kMethodAve,
};

TEST(FillDialogFields, TakesEveryFieldFromTheMeter) {
  RecordingMeter m;
  SetEveryField(m.meter);
  EXPECT_EQ(FillDialogFields(m.meter), kEveryField);
}

TEST(FillDialogFields, ChecksWhateverIsNotZero) {
  RecordingMeter m;
  m.meter.config.AlarmEnabled = kFalse;
  m.meter.config.ShowUnit = 1;
  m.meter.config.ShowCaption = kFalse;
  m.meter.runtime.ToolWindowFrame = 7;
  const DialogFields fields = FillDialogFields(m.meter);
  EXPECT_FALSE(fields.EnableAlarmCheck);
  EXPECT_TRUE(fields.ShowUnitCheck);
  EXPECT_FALSE(fields.CaptionCheck);
  EXPECT_TRUE(fields.TBCheck);
}

TEST(FillDialogFields, AnyOrderButTopMostIsUnchecked) {
  RecordingMeter m;
  for (const int order : {-2, 0, 1}) {
    m.meter.config.AlwaysOnTop = static_cast<std::int16_t>(order);
    EXPECT_FALSE(FillDialogFields(m.meter).Check4) << order;
  }
}

TEST(FillDialogFields, NoOptionForAMethodThatIsNone) {
  RecordingMeter m;
  m.meter.config.DataMethod = -1;
  EXPECT_EQ(FillDialogFields(m.meter).Option, std::nullopt);
  m.meter.config.DataMethod = kMethodCalc;
  EXPECT_EQ(FillDialogFields(m.meter).Option, 6);
}

// The limit shows with a comma where people write one, and is read back only up to it.
TEST(DialogFields, ADecimalCommaIsShownAndEndsTheNumber) {
  RecordingMeter m;
  m.meter.runtime.DecimalSep = ",";
  m.meter.config.HighLimit = 12.5F;
  const DialogFields fields = FillDialogFields(m.meter);
  EXPECT_EQ(fields.HLText, "12,5");
  ApplyDialogFields(fields, m.meter);
  EXPECT_EQ(m.meter.config.HighLimit, 12.0F);
}

TEST(ApplyDialogFields, GivesEveryFieldBackToTheMeter) {
  RecordingMeter m;
  ApplyDialogFields(kEveryField, m.meter);
  DialogFields expected = kEveryField;
  expected.ChnIdxText = "0";  // only shown
  EXPECT_EQ(FillDialogFields(m.meter), expected);
  EXPECT_EQ(m.meter.config.AlarmEnabled, -1);
  EXPECT_EQ(m.meter.config.ShowCaption, -1);
  EXPECT_EQ(m.meter.config.AlwaysOnTop, -1);
}

TEST(ApplyDialogFields, OrderBecomesTopMostOrNot) {
  RecordingMeter m;
  m.meter.config.AlwaysOnTop = 1;
  ApplyDialogFields(FillDialogFields(m.meter), m.meter);
  EXPECT_EQ(m.meter.config.AlwaysOnTop, -2);
}

TEST(ApplyDialogFields, WithoutAnOptionTheMethodStays) {
  RecordingMeter m;
  m.meter.config.DataMethod = -1;
  ApplyDialogFields(FillDialogFields(m.meter), m.meter);
  EXPECT_EQ(m.meter.config.DataMethod, -1);
}

TEST(ApplyDialogFields, AHighLimitBelowTheLowLimitIsTaken) {
  RecordingMeter m;
  DialogFields fields;
  fields.HLText = "-5 bar";
  fields.LLText = "1e1";
  ApplyDialogFields(fields, m.meter);
  EXPECT_EQ(m.meter.config.HighLimit, -5.0F);
  EXPECT_EQ(m.meter.config.LowLimit, 10.0F);
}

TEST(ApplyDialogFields, BringsNumbersIntoTheirRange) {
  struct Row {
    const char* text;
    std::int32_t window_size;
    std::int16_t border_width;
    std::int16_t transparency;
    float high_limit;
  };
  constexpr Row kRows[] = {
      {"", 0, 0, 1, 0},
      {"abc", 0, 0, 1, 0},
      {"-5", 0, 0, 1, -5},
      {"0.5", 0, 0, 1, 0.5},
      {"2.5", 2, 2, 2, 2.5},
      {"3.5", 4, 4, 4, 3.5},
      {"33", 33, 32, 33, 33},
      {"64", 64, 32, 64, 64},
      {"255.4", 255, 32, 255, 255.4F},
      {"300", 300, 32, 255, 300},
      {"32767.4", 32767, 32, 255, 32767.4F},
      {"40000", 32767, 32, 255, 40000},
      {"-40000", 0, 0, 1, -40000},
      {"1e400", 32767, 32, 255, std::numeric_limits<float>::max()},
      {"&HFF&", 255, 32, 255, 255},
  };
  for (const Row& row : kRows) {
    RecordingMeter m;
    DialogFields fields;
    fields.WSText = fields.BorderWidthText = fields.TransparencyText = fields.HLText = row.text;
    ApplyDialogFields(fields, m.meter);
    EXPECT_EQ(m.meter.config.WindowSize, row.window_size) << row.text;
    EXPECT_EQ(m.meter.config.BorderWidth, row.border_width) << row.text;
    EXPECT_EQ(m.meter.config.Transparency, row.transparency) << row.text;
    EXPECT_EQ(m.meter.config.HighLimit, row.high_limit) << row.text;
  }
}

}  // namespace
}  // namespace vantoscope::test
