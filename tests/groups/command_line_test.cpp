#include "groups/command_line.h"

#include <gtest/gtest.h>

#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

struct Row {
  const char* name;
  const char* line;
  const char* device;
  const char* meter_name;
  int index;
};

class CommandLine : public ::testing::TestWithParam<Row> {};

TEST_P(CommandLine, IsReadByPosition) {
  const Row& row = GetParam();
  RecordingMeter m;
  m.telvix.device = "default";
  ReadCommandLine(m.meter, row.line);
  EXPECT_EQ(m.telvix.device, row.device);
  EXPECT_EQ(m.meter.runtime.MeterName, row.meter_name);
  EXPECT_EQ(m.meter.runtime.ChannelIndex, row.index);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, CommandLine,
    ::testing::Values(Row{"AllThree", "-dX -nTank_Farm -i2", "X", "Tank Farm", 2},
                      Row{"UpperCase", "-DX -NTank -I2", "X", "Tank", 2},
                      Row{"DeviceOnly", "-dX", "X", "", 0},
                      Row{"EmptyValues", "-d -n -i", "", "", 0},
                      Row{"NameFirst", "-nTank -dX -i2", "default", "Form1", 2},
                      Row{"IndexSecond", "-dX -i2 -nTank", "X", "Form1", 0},
                      Row{"TwoBlanks", "-dX  -nTank -i2", "X", "Form1", 0},
                      Row{"IndexTextIsANumberAtItsFront", "-dX -nT -i2.5rest", "X", "T", 2},
                      Row{"IndexTieToEven", "-dX -nT -i3.5", "X", "T", 4},
                      Row{"IndexNoNumber", "-dX -nT -iabc", "X", "T", 0},
                      Row{"FourthIgnored", "-dX -nT -i1 -i2", "X", "T", 1},
                      Row{"TooShort", "- - -", "default", "Form1", 0}),
    [](const auto& row) { return row.param.name; });

void Group(RecordingMeter& m, std::size_t channels, const char* line) {
  m.telvix.channels.assign(channels, RecordingChannel{});
  ReadCommandLine(m.meter, line);
}

TEST(GroupLaunch, StartsOneProcessForEachFurtherChannel) {
  RecordingMeter m;
  Group(m, 3, "-Dsim;rm$x -NTank_Farm -I-1");
  EXPECT_EQ(m.log, (Log{"SetDeviceName sim;rm$x", "ChannelCount", "DeviceName",
                        "Process 4 vantoscope.exe -dsim;rm$x -nTank_Farm -i1", "DeviceName",
                        "Process 4 vantoscope.exe -dsim;rm$x -nTank_Farm -i2"}));
  EXPECT_EQ(m.meter.runtime.ChannelIndex, 0);
  EXPECT_EQ(m.meter.runtime.MeterName, "Tank Farm");
}

TEST(GroupLaunch, HandsOnTheSecondTokenAsItIs) {
  RecordingMeter m;
  Group(m, 2, "x éüTank_1 -i-1");
  EXPECT_EQ(m.log.back(), "Process 4 vantoscope.exe -dSM64 -nTank_1 -i1");
  EXPECT_EQ(m.meter.runtime.MeterName, "Form1");
}

TEST(GroupLaunch, OfOneChannelOrNoneStartsNothing) {
  for (const std::size_t channels : {0U, 1U}) {
    RecordingMeter m;
    Group(m, channels, "-dX -nT -i-1.0");
    EXPECT_EQ(m.log.back(), "ChannelCount");
    EXPECT_EQ(m.meter.runtime.ChannelIndex, 0);
  }
}

}  // namespace
}  // namespace vantoscope::test
