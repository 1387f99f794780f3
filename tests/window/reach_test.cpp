// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/reach.h"

#include <gtest/gtest.h>

#include "presentation/beside.h"

namespace vantoscope {

// Two screens beside each other, the left one with a panel of 30 pixels at its top. A window is 200
// by 90 pixels, its title bar 20 where it has one.
TEST(ReachTest, AWindowMovesOnlyWhenTooLittleOfItShows) {
  const QList<QRectF> areas = {{0, 30, 1000, 770}, {1000, 0, 800, 600}};
  struct Row {
    const char* name;
    double title_bar, left, top, seen_left, seen_top;
  };
  const Row rows[] = {
      {"framed, 64 pixels beside the edge", 20, -136, 300, -136, 300},
      {"framed, one pixel less", 20, -137, 300, 0, 300},
      {"framed, half the title bar above the panel's edge", 20, 100, 20, 100, 20},
      {"framed, one pixel more under the panel", 20, 100, 19, 100, 30},
      {"framed, only the title bar above the bottom", 20, 100, 780, 100, 780},
      {"framed, less than half of it", 20, 100, 791, 100, 710},
      {"framed, the reading seen and the title bar not", 20, 500, -30, 500, 30},
      {"framed, over the gap between both", 20, 950, 580, 950, 580},
      {"bare, 64 pixels beside the edge", 0, -136, 300, -136, 300},
      {"bare, one pixel less", 0, -137, 300, 0, 300},
      {"bare, a third above the bottom", 0, 300, 770, 300, 770},
      {"bare, one pixel less than a third", 0, 300, 771, 300, 710},
      {"a screen to the right is gone", 20, 1900, 100, 1100, 100},
      {"far above, by whole heights", 0, 300, -670, 300, 100},
      {"beyond both edges, by whole widths, then only as far as needed", 20, 2500, 1190, 1600, 510},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(WithinReach({row.left, row.top, 200, 90}, row.title_bar, areas),
              QRectF(row.seen_left, row.seen_top, 200, 90))
        << row.name;
  }
  const QRectF huge(-3000, -5000, 4000, 3000);
  EXPECT_EQ(WithinReach(huge, 20, areas).topLeft(), QPointF(0, 30));
  EXPECT_EQ(WithinReach(huge, 20, {}), huge);
}

// A screen of 1000 by 800 with a panel of 30 pixels at its top; the window is 400 by 300, and wants
// to be at 180, 270.
TEST(BesideTest, AWindowOpensNearestToItsPlaceWithTheMeterInSight) {
  struct Row {
    const char* name;
    QRect meter;
    QPoint seen;
  };
  const Row rows[] = {
      {"out of the way", {700, 100, 200, 100}, {180, 270}},
      {"touching is no covering", {580, 270, 200, 100}, {180, 270}},
      {"to the right of it", {100, 400, 100, 60}, {208, 270}},
      {"to the left of it", {560, 400, 200, 60}, {152, 270}},
      {"below it", {200, 200, 600, 80}, {180, 288}},
      {"above it", {60, 540, 700, 100}, {180, 232}},
      {"no room but on the left", {450, 40, 540, 760}, {42, 270}},
      {"all covered: where least of it is", {0, 30, 1000, 700}, {180, 500}},
      {"on another screen", {1200, 300, 300, 100}, {180, 270}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Beside(row.meter, {400, 300}, {180, 270}, {0, 30, 1000, 770}), row.seen) << row.name;
  }
  EXPECT_EQ(Beside({0, 0, 9, 9}, {400, 300}, {700, 900}, {0, 30, 1000, 770}), QPoint(600, 500));
  EXPECT_EQ(Beside({300, 300, 9, 9}, {4000, 3000}, {180, 270}, {0, 30, 1000, 770}), QPoint(0, 30));
}

}  // namespace vantoscope
