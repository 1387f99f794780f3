// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/grid.h"

#include <gtest/gtest.h>

namespace vantoscope::test {
namespace {

constexpr GridRoom kScreen = {.left = 60,
                              .top = 30,
                              .width = 1220,
                              .height = 770,
                              .window_width = 200,
                              .window_height = 67,
                              .gap = 8,
                              .title_bar = 20};

// 1228 / 208 columns and 778 / 75 rows. From 51 meters on there are two layers, whose pairs of
// windows take 220 by 87: 1228 / 228 and 778 / 95.
TEST(GridTest, CellsGoRowByRowAndLayersOneTitleBarDownAndRight) {
  struct Row {
    int count, index, left, top;
  };
  const Row rows[] = {{12, 0, 60, 30},   {12, 4, 892, 30},  {12, 5, 60, 105},   {50, 49, 892, 705},
                      {51, 4, 972, 30},  {51, 5, 60, 125},  {51, 39, 972, 695}, {51, 40, 80, 50},
                      {51, 45, 80, 145}, {80, 79, 992, 715}};
  for (const auto& [count, index, left, top] : rows) {
    EXPECT_EQ(Grid(kScreen, count).Of(index), (Corner{left, top})) << index << " of " << count;
  }
}

/// What of the title bar of a window shows beside those of other layers, whichever lie above.
bool TitleBarShows(const std::vector<Corner>& corners, const Corner& of, int width, int height) {
  for (int x = of.left; x < of.left + width; ++x) {
    const auto covers = [&](const Corner& other) {
      return !(other == of) && x >= other.left && x < other.left + kScreen.window_width &&
             of.top < other.top + kScreen.window_height && other.top < of.top + height;
    };
    if (std::ranges::none_of(corners, covers)) return true;
  }
  return false;
}

TEST(GridTest, EveryGroupStaysOnTheScreenAndNoTitleBarHides) {
  GridRoom large = kScreen;
  large.window_height = 120;
  for (const GridRoom& room : {kScreen, large}) {
    for (const int count : {1, 12, 50, 64, 80, 120, 300}) {
      const Grid grid(room, count);
      std::vector<Corner> corners;
      for (int index = 0; index < count; ++index) corners.push_back(grid.Of(index));
      for (const Corner& corner : corners) {
        SCOPED_TRACE(std::to_string(count) + " at " + TextOf(corner));
        EXPECT_EQ(std::ranges::count(corners, corner), 1);
        EXPECT_GE(corner.left, room.left);
        EXPECT_LE(corner.left + room.window_width, room.left + room.width);
        EXPECT_LE(corner.top + room.window_height, room.top + room.height);
        EXPECT_TRUE(TitleBarShows(corners, corner, room.window_width, 1));
      }
    }
  }
}

TEST(GridTest, AScreenSmallerThanAMeterHoldsEveryMeterAllTheSame) {
  GridRoom tiny = kScreen;
  tiny.width = tiny.height = 10;
  EXPECT_EQ(Grid(tiny, 3).Of(2), (Corner{60, 30}));
  tiny.title_bar = 0;
  EXPECT_EQ(Grid(tiny, 0).Of(0), (Corner{60, 30}));
}

TEST(GridTest, ACornerIsHandedOnAsText) {
  EXPECT_EQ(CornerFrom(TextOf({-12, 3400})), (Corner{-12, 3400}));
  for (const char* text : {"", "12", "12,", ",5", "1,2 ", "a,b", "99999999999,1"}) {
    EXPECT_EQ(CornerFrom(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace vantoscope::test
