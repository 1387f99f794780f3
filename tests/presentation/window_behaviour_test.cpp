#include "presentation/window_behaviour.h"

#include <gtest/gtest.h>

#include "program/ending.h"
#include "tests/support/recording.h"

namespace vantoscope::test {
namespace {

TEST(WindowBehaviour, LabelFillsTheClientAndItsFontTheLabel) {
  RecordingMeter m;
  m.form.client_height = {40};
  LayoutLabel(m.form);
  EXPECT_EQ(m.form.label_font, Points{40});
  m.form.client_height = {0};
  LayoutLabel(m.form);
  EXPECT_EQ(m.form.label_font, Points{1});
}

TEST(WindowBehaviour, OnlyAFramedSizeIsKept) {
  RecordingMeter m;
  m.form.width = {3600.5};
  m.form.height = {1500};
  ResizeRule(m.meter);
  EXPECT_EQ(m.meter.config.WindowWidth, 3600);
  EXPECT_EQ(m.meter.config.WindowHeight, 1500);
  m.form.border_style = kBare;
  m.form.height = {900};
  m.form.client_height = {60};
  ResizeRule(m.meter);
  EXPECT_EQ(m.meter.config.WindowHeight, 1500);
  EXPECT_EQ(m.form.label_font, Points{60});
}

TEST(WindowBehaviour, SwapGoesThereAndBack) {
  RecordingMeter m;
  m.meter.config.Transparency = 100;
  SwapLook(m.meter);
  EXPECT_EQ(m.log, (Log{"BorderStyle 0", "Title Form1", "Alpha 100", "Command1 off"}));
  m.log.clear();
  SwapLook(m.meter);
  EXPECT_EQ(m.log, (Log{"BorderStyle 5", "Title Form1", "Alpha 255", "Command1 on"}));
}

TEST(WindowBehaviour, HoverStripIs52PixelsFromTheLeftEdge) {
  RecordingMeter m;
  m.form.left = {1500};  // pixel 100
  for (const auto& [x, shown] : std::vector<std::pair<double, bool>>{
           {99, false}, {99.6, true}, {100, true}, {151, true}, {152, false}, {-500, false}}) {
    m.form.cursor_x = x;
    HoverRule(m.form);
    EXPECT_EQ(m.form.command1, shown) << x;
  }
  m.form.border_style = kBare;
  m.form.cursor_x = 120;
  HoverRule(m.form);
  EXPECT_FALSE(m.form.command1) << "bare";
}

TEST(WindowBehaviour, RefusedAlphaIsOneBoxAndTheSwapGoesOn) {
  RecordingMeter m;
  m.form.alpha_refused = true;
  SwapLook(m.meter);
  EXPECT_EQ(m.log, (Log{"BorderStyle 0", "Title Form1",
                        "Message none [] No layered windows Source : display", "Command1 off"}));
}

TEST(Ending, ClosingStopsAndSavesTheHostsEndOnlySaves) {
  RecordingMeter closed;
  UnloadMeter(closed.meter);
  EXPECT_EQ(closed.log.front(), "Stop");
  EXPECT_EQ(closed.log.size(), 1 + 24U);

  RecordingMeter broken;
  broken.telvix.failing["Stop"] = true;
  UnloadMeter(broken.meter);
  EXPECT_EQ(broken.log.size(), 1 + 24U) << "a source that cannot stop costs no setting";

  RecordingMeter host;
  EndByHost(host.meter);
  EXPECT_EQ(host.log.size(), 24 + 1U);
  EXPECT_EQ(host.log.back(), "EndProcess");
}

}  // namespace
}  // namespace vantoscope::test
