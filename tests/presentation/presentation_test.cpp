// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <cmath>

#include "presentation/display_format.h"
#include "presentation/reading_display.h"
#include "presentation/window_behaviour.h"
#include "program/ending.h"
#include "tests/support/spy.h"

namespace vantoscope::test {

std::string DerivedFormat(float low, float high, const std::string& user_format = "") {
  SpyMeter m;
  m.runtime.ScaleLow = low;
  m.runtime.ScaleHigh = high;
  m.config.UserFormat = user_format;
  DeriveDisplayFormat(m.config, m.runtime);
  return m.config.UserFormat == user_format ? m.runtime.DisplayFormat : "changed";
}

// The wider end counts, whatever its sign. 1000 lies a hair below its power of ten in the quotient
// of logarithms, and 0.01 and 1e-5 below theirs as 32-bit floats. Without a logarithm a range of 1.
TEST(DisplayFormatTest, FollowsTheRange) {
  const std::tuple<float, float, std::size_t> rows[] = {
      {0, 0.005F, 11}, {0, 0.05F, 10}, {0, 0.5F, 9}, {0, 5, 6},        {-10, 10, 5},
      {0, 100, 4},     {0, 1000, 4},   {0, 5000, 3}, {0, 50000, 2},    {0, 500000, 0},
      {0, 1e6F, 0},    {-5, 20, 5},    {-5, 2, 6},   {-2000, 10, 3},   {0, 0.01F, 11},
      {0, 1e-5F, 14},  {0, 3e38F, 0},  {0, 0, 6},    {0, INFINITY, 6}, {-INFINITY, 10, 6},
      {0, NAN, 6}};
  for (const auto& [low, high, zeros] : rows)
    EXPECT_EQ(DerivedFormat(low, high), "0." + std::string(zeros, '0')) << low << " to " << high;
}

TEST(DisplayFormatTest, AUserFormatOfTwoCharactersWins) {
  for (const char* user : {"0.", "ab", "\u00B00"}) EXPECT_EQ(DerivedFormat(0, 5, user), user);
  for (const char* user : {"0", "\u00B0", ""}) EXPECT_EQ(DerivedFormat(0, 5, user), "0.000000");
}

// The next 32-bit float above 1000 is 1000.00006103515625.
TEST(AlarmTest, ComparesAsSinglePrecision) {
  SpyMeter m;
  m.config.HighLimitColor = 2;
  m.config.LowLimitColor = 3;
  m.config.HighLimit = 1000;
  m.config.LowLimit = -1000;
  EXPECT_EQ(ReadingColor(m.config, 5000), 0) << "alarm off";
  m.config.AlarmEnabled = 1;
  const std::pair<double, Color> rows[] = {
      {1000, 0},        {1000.00001, 0}, {1000.0001, 2}, {-1000, 0},
      {-1000.00001, 0}, {-1000.0001, 3}, {1e300, 2},     {-1e300, 3},
      {INFINITY, 2},    {NAN, 0},        {0, 0}};
  for (const auto& [reading, color] : rows)
    EXPECT_EQ(ReadingColor(m.config, reading), color) << reading;
  m.config.LowLimit = 2000;  // above the high limit, which wins; nothing is inside
  EXPECT_EQ(ReadingColor(m.config, 1500), 2);
  EXPECT_EQ(ReadingColor(m.config, 500), 3);
}

TEST(WindowBehaviourTest, TheLabelFillsTheClientAndOnlyAFramedSizeIsKept) {
  SpyMeter m;
  m.width = {3600.5};
  m.height = {1500};
  m.client_height = {40};
  ResizeRule(m.meter);
  m.border_style = kBare;
  m.width = m.height = {900};
  m.client_height = {0};
  ResizeRule(m.meter);
  EXPECT_EQ(m.config.WindowWidth, 3600);
  EXPECT_EQ(m.config.WindowHeight, 1500);
  EXPECT_EQ(m.log.Text(),
            "MoveLabel 0 0 325.5 40|LabelFontSize 40|MoveLabel 0 0 325.5 0|"
            "LabelFontSize 1|");
}

TEST(WindowBehaviourTest, TheSwapGoesThereAndBackEvenWithoutAlpha) {
  SpyMeter m;
  m.config.Transparency = 100;
  SwapLook(m.meter);
  SwapLook(m.meter);
  m.alpha_refused = true;
  SwapLook(m.meter);
  EXPECT_EQ(
      m.log.Text(),
      "BorderStyle 0|Title Form1|Alpha 100|Command1 off|BorderStyle 5|Title Form1|"
      "Alpha 255|Command1 on|BorderStyle 0|Title Form1|Message plain [] No alpha Source : display|"
      "Command1 off|");
}

TEST(WindowBehaviourTest, TheHoverStripIs52PixelsFromTheLeftEdge) {
  SpyMeter m;
  m.left = {1500};  // pixel 100
  for (const double x : {99.4, 99.5, 151.4, 152.0, -500.0}) {
    m.cursor_x = x;
    HoverRule(m);
  }
  EXPECT_EQ(m.log.Text(), "Command1 off|Command1 on|Command1 on|Command1 off|Command1 off|");
  m.border_style = kBare;
  HoverRule(m);
  EXPECT_EQ(m.log.size(), 5U);
}

TEST(EndingTest, ClosingStopsAndSavesTheHostsEndOnlySaves) {
  SpyMeter closed;
  closed.failing = {"Stop"};  // costs no setting
  UnloadMeter(closed.meter);
  EXPECT_EQ(closed.log.front(), "Stop");
  EXPECT_EQ(closed.log.size(), 1 + 24U);
  SpyMeter left;
  EndByHost(left.meter);
  EXPECT_EQ(left.log.back(), "EndProcess");
  EXPECT_EQ(left.log.size(), 24 + 1U);
}

}  // namespace vantoscope::test
