// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/command_line.h"

#include <gtest/gtest.h>

#include "tests/support/spy.h"

namespace vantoscope::test {

// Two blanks make the word between them an empty one.
TEST(CommandLineTest, IsReadByPosition) {
  const std::tuple<const char*, const char*, const char*, int> rows[] = {
      {"-dX -nA_B -i2", "X", "A B", 2},       {"-DX -NTank -I2", "X", "Tank", 2},
      {"-dDevice42", "Device42", "", 0},      {"-d -n -i ignored", "", "", 0},
      {"-nTank -dX -i2", "SM64", "Form1", 2}, {"-dX -i2 -nTank", "X", "Form1", 0},
      {"-dX  -nTank -i2", "X", "Form1", 0},   {"-dX -nT -i2.5rest", "X", "T", 2},
      {"-dX -nT -i3.5", "X", "T", 4},         {"-dX -nT -iabc", "X", "T", 0},
      {"-dX -nT -i-1.5", "X", "T", -2},       {"-dX -nT -i1 -i2", "X", "T", 1},
      {"- - -", "SM64", "Form1", 0}};
  for (const auto& [line, device, name, index] : rows) {
    SpyMeter m;
    m.channels.resize(3);
    ReadCommandLine(m.meter, line);
    EXPECT_EQ(m.device, device) << line;
    EXPECT_EQ(m.runtime.MeterName, name) << line;
    EXPECT_EQ(m.runtime.ChannelIndex, index) << line;
    EXPECT_EQ(m.log.Text({"Process"}), "") << line;
  }
}

// The second word is handed on as it stands, the device as the source names it.
TEST(CommandLineTest, AGroupStartsOneProcessForEachFurtherChannel) {
  const std::tuple<std::size_t, const char*, const char*, std::string> rows[] = {
      {3, "-Dsim;rm$x -NTank_Farm -I-1", "Tank Farm",
       "SetDeviceName sim;rm$x|ChannelCount|DeviceName|Process 4 vantoscope.exe -dsim;rm$x "
       "-nTank_Farm -i1|DeviceName|Process 4 vantoscope.exe -dsim;rm$x -nTank_Farm -i2|"},
      {2, "x \u00e9\u00fcTank_1 -i-1", "Form1",
       "ChannelCount|DeviceName|Process 4 vantoscope.exe -dSM64 -nTank_1 -i1|"},
      {1, "x -nT -i-1.0", "T", "ChannelCount|"},
      {0, "x -nT -i-1", "T", "ChannelCount|"}};
  for (const auto& [channels, line, name, log] : rows) {
    SpyMeter m;
    m.channels.resize(channels);
    ReadCommandLine(m.meter, line);
    EXPECT_EQ(m.log.Text(), log);
    EXPECT_EQ(m.runtime.MeterName, name);
    EXPECT_EQ(m.runtime.ChannelIndex, 0);
  }
}

}  // namespace vantoscope::test
