#include "meter/tick.h"

#include <gtest/gtest.h>

#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

struct Path {
  const char* name;
  std::int16_t method;
  std::int16_t number;
  Log log;
};

class TickOrder : public ::testing::TestWithParam<Path> {};

TEST_P(TickOrder, AsksTheSourceInItsOrder) {
  RecordingMeter m;
  m.telvix.channels = {{5, 0, 1, "", 0}, {GetParam().number, -10, 10, "V", 2.5}};
  m.telvix.blocks.push_back(MakeBlock({{9, 9}, {1, 3}}));
  m.meter.runtime.ChannelIndex = 1;
  m.meter.config.WindowSize = 2;
  m.meter.config.ShowUnit = kTrue;
  m.meter.config.DataMethod = GetParam().method;
  Timer1Tick(m.meter);
  EXPECT_EQ(m.log, GetParam().log);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, TickOrder,
    ::testing::Values(Path{"None",
                           0,
                           2,
                           {"ChannelNumber 1", "LatestValue 1", "LabelForeColor 0", "EngUnit 1",
                            "LabelText 2.500V"}},
                      Path{"UnknownIsNone",
                           7,
                           2,
                           {"ChannelNumber 1", "LatestValue 1", "LabelForeColor 0", "EngUnit 1",
                            "LabelText 2.500V"}},
                      Path{"NegativeIsNone",
                           -1,
                           2,
                           {"ChannelNumber 1", "LatestValue 1", "LabelForeColor 0", "EngUnit 1",
                            "LabelText 2.500V"}},
                      Path{"Min",
                           1,
                           2,
                           {"ChannelNumber 1", "GetData 2 1", "ScaleHigh 1", "LabelForeColor 0",
                            "EngUnit 1", "LabelText 1.000V"}},
                      Path{"Max",
                           2,
                           2,
                           {"ChannelNumber 1", "GetData 2 1", "ScaleLow 1", "LabelForeColor 0",
                            "EngUnit 1", "LabelText 3.000V"}},
                      Path{"AveWithExtraDigit",
                           3,
                           999,
                           {"ChannelNumber 1", "GetData 2 1", "LabelForeColor 0", "EngUnit 1",
                            "LabelText 2.0000V"}}),
    [](const auto& path) { return path.param.name; });

TEST(Tick, SpecialChannelsGoTheirOwnWay) {
  for (const auto& [number, text] : std::vector<std::pair<std::int16_t, const char*>>{
           {-1, "LabelText 12"}, {-2, "LabelText 9357"}, {-3, "LabelText 9357"}}) {
    RecordingMeter m;
    m.telvix.channels[0].number = number;
    m.telvix.blocks.push_back(MakeBlock({{4660}}));  // 0x1234; (4660 + 32768) / 4 = 9357
    m.meter.runtime.SpecialChannel = kTrue;
    m.meter.runtime.Reading = 8;
    m.meter.config.DataMethod = kMethodCalc;
    m.meter.config.AlarmEnabled = kTrue;
    m.meter.config.ShowUnit = kTrue;
    Timer1Tick(m.meter);
    EXPECT_EQ(m.log, (Log{"GetData 1 0", "ChannelNumber 0", text}));
    EXPECT_EQ(m.meter.runtime.Reading, 8);
  }
}

TEST(Tick, UnknownSpecialNumberGoesOnAsAnOrdinaryChannel) {
  RecordingMeter m;
  m.telvix.channels[0].number = -4;
  m.telvix.blocks.push_back(MakeBlock({{1}}));
  m.meter.runtime.SpecialChannel = kTrue;
  Timer1Tick(m.meter);
  EXPECT_EQ(m.log, (Log{"GetData 1 0", "ChannelNumber 0", "LatestValue 0", "LabelForeColor 0",
                        "LabelText 0.000"}));
}

struct Silence {
  const char* name;
  std::int16_t method;
  std::int32_t window;
  Bool16 special;
  const char* failing;
  bool with_block;
};

class SilentTick : public ::testing::TestWithParam<Silence> {};

TEST_P(SilentTick, LeavesLabelAndReadingAndTriesAgain) {
  const Silence& row = GetParam();
  RecordingMeter m;
  if (row.with_block) m.telvix.blocks.push_back(MakeBlock({{1, 2}}));
  if (*row.failing != '\0') m.telvix.failing[row.failing] = true;
  m.telvix.channels[0].latest = 4;
  m.meter.runtime.Reading = 8;
  m.meter.runtime.SpecialChannel = row.special;
  m.meter.config.DataMethod = row.method;
  m.meter.config.WindowSize = row.window;
  m.meter.config.ShowUnit = kTrue;
  Timer1Tick(m.meter);
  EXPECT_EQ(m.form.label_text, "009000");
  if (std::string_view(row.failing) != "EngUnit") {
    EXPECT_EQ(m.meter.runtime.Reading, 8);
  }

  m.telvix.failing.clear();
  m.telvix.blocks.clear();
  m.telvix.blocks.push_back(MakeBlock({{1, 2}}));
  m.meter.config.WindowSize = 2;
  Timer1Tick(m.meter);
  EXPECT_NE(m.form.label_text, "009000");
}

INSTANTIATE_TEST_SUITE_P(
    Faults, SilentTick,
    ::testing::Values(Silence{"LatestFails", 0, 3, kFalse, "LatestValue", true},
                      Silence{"FetchFails", 3, 2, kFalse, "GetData", true},
                      Silence{"EmptyBlock", 3, 2, kFalse, "", false},
                      Silence{"WindowBeyond16Bits", 1, 40000, kFalse, "", true},
                      Silence{"WindowBelow16Bits", 1, -40000, kFalse, "", true},
                      Silence{"BlockTooShort", 3, 3, kFalse, "", true},
                      Silence{"SpecialEmpty", 0, 3, kTrue, "", false},
                      Silence{"NumberFails", 0, 3, kFalse, "ChannelNumber", true},
                      Silence{"RangeFails", 1, 2, kFalse, "ScaleHigh", true},
                      Silence{"UnitFails", 0, 3, kFalse, "EngUnit", true}),
    [](const auto& row) { return row.param.name; });

TEST(Tick, WindowBeyond16BitsDoesNotMatterWithoutAWindow) {
  RecordingMeter m;
  m.meter.config.WindowSize = 40000;
  Timer1Tick(m.meter);
  EXPECT_EQ(m.form.label_text, "0.000");
}

}  // namespace
}  // namespace vantoscope::test
