#include "presentation/window_behaviour.h"

#include <gtest/gtest.h>

#include "program/ending.h"
#include "tests/support/spy.h"

namespace vantoscope::test {

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
  for (const char* failing : {"", "Stop"}) {
    SpyMeter m;
    m.failing = {failing};
    UnloadMeter(m.meter);
    EXPECT_EQ(m.log.front(), "Stop");
    EXPECT_EQ(m.log.size(), 1 + 24U);
  }
  SpyMeter m;
  EndByHost(m.meter);
  EXPECT_EQ(m.log.back(), "EndProcess");
  EXPECT_EQ(m.log.size(), 24 + 1U);
}

}  // namespace vantoscope::test
