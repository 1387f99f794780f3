#include "settings/dialog_fields.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

#include "tests/dialog/example_fields.h"
#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

// What a meter holds that shows as kEveryField.
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

TEST(FillDialogFields, TakesEveryFieldFromTheMeter) {
  RecordingMeter m;
  SetEveryField(m.meter);
  EXPECT_EQ(FillDialogFields(m.meter), kEveryField);
}

// Settings files of old hold more than the dialog can show.
TEST(DialogFields, ValuesWithoutAShape) {
  RecordingMeter m;
  m.meter.config.ShowUnit = 1;
  m.meter.config.ShowCaption = kFalse;
  m.meter.runtime.ToolWindowFrame = 7;
  m.meter.config.DataMethod = -1;
  for (const std::int16_t order : std::initializer_list<std::int16_t>{-2, 0, 1}) {
    m.meter.config.AlwaysOnTop = order;
    const DialogFields fields = FillDialogFields(m.meter);
    EXPECT_FALSE(fields.Check4) << order;
    EXPECT_TRUE(fields.ShowUnitCheck);
    EXPECT_FALSE(fields.CaptionCheck);
    EXPECT_TRUE(fields.TBCheck);
    EXPECT_EQ(fields.Option, std::nullopt);
    ApplyDialogFields(fields, m.meter);
    EXPECT_EQ(m.meter.config.AlwaysOnTop, -2);
    EXPECT_EQ(m.meter.config.DataMethod, -1);
  }
}

// The limit shows with a comma where people write one, and is read back only up to it. It may well
// be below the low limit.
TEST(DialogFields, ADecimalCommaIsShownAndEndsTheNumber) {
  RecordingMeter m;
  m.meter.runtime.DecimalSep = ",";
  m.meter.config.HighLimit = 12.5F;
  DialogFields fields = FillDialogFields(m.meter);
  EXPECT_EQ(fields.HLText, "12,5");
  fields.LLText = "1e2 bar";
  ApplyDialogFields(fields, m.meter);
  EXPECT_EQ(m.meter.config.HighLimit, 12.0F);
  EXPECT_EQ(m.meter.config.LowLimit, 100.0F);
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
      {"-5", 0, 0, 1, -5},
      {"0.5", 0, 0, 1, 0.5},
      {"2.5", 2, 2, 2, 2.5},
      {"3.5", 4, 4, 4, 3.5},
      {"33", 33, 32, 33, 33},
      {"300", 300, 32, 255, 300},
      {"32767.4", 32767, 32, 255, 32767.4F},
      {"40000", 32767, 32, 255, 40000},
      {"1e400", 32767, 32, 255, std::numeric_limits<float>::max()},
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
