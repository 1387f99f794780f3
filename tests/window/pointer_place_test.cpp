// SPDX-License-Identifier: GPL-3.0-or-later
// When the pointer is asked for, tick by tick.
#include "presentation/pointer_place.h"

#include <gtest/gtest.h>

namespace vantoscope {
namespace {

/// A pointer whose use a display tells of, unless it is `deaf`.
struct Desk {
  struct Rest : PointerRest {
    explicit Rest(Desk& d) : desk(d) {}
    bool Begin() override {
      desk.used = false;
      return !desk.busy;
    }
    bool IsOver() override { return desk.used; }
    Desk& desk;
  };

  QPoint pointer{5, 5};
  bool told = true;   // whether the display has such a thing at all
  bool deaf = false;  // it has, and does not work
  bool busy = false;  // used, without a move, ever since
  bool used = false;
  int asked = 0;
  PointerPlace place{[this] {
                       ++asked;
                       return pointer;
                     },
                     [this] { return told ? std::make_unique<Rest>(*this) : nullptr; }};

  void Move(int x) {
    pointer.setX(x);
    used = used || !deaf;
  }
  /// How often it is asked for in so many ticks.
  int AskedIn(int ticks) {
    const int before = asked;
    for (int i = 0; i < ticks; ++i) EXPECT_TRUE(place.Look() == pointer || deaf);
    return asked - before;
  }
};

TEST(PointerPlaceTest, AtRestItIsAskedForEveryTwoSeconds) {
  Desk desk;
  EXPECT_GE(desk.AskedIn(20), 20);
  desk.AskedIn(10);
  EXPECT_EQ(desk.AskedIn(200), 10);
  desk.used = true;  // a click
  desk.AskedIn(30);
  EXPECT_EQ(desk.AskedIn(200), 10);
}

TEST(PointerPlaceTest, TheTickAfterAMoveKnowsOfIt) {
  Desk desk;
  desk.AskedIn(47);
  for (const int pause : {1, 19, 20, 21, 22, 40, 41, 59, 77}) {
    desk.Move(100 + pause);
    EXPECT_EQ(desk.place.Look(), desk.pointer) << pause;
    desk.AskedIn(pause);
  }
  EXPECT_LT(desk.AskedIn(200), 40);  // a display that tells of moves is trusted on
}

TEST(PointerPlaceTest, WhatIsNotKnownForSureIsAskedForAtEachTick) {
  Desk busy;
  busy.busy = true;
  EXPECT_EQ(busy.AskedIn(100), 100);
  Desk untold;
  untold.told = false;
  EXPECT_EQ(untold.AskedIn(100), 100);
  Desk other_coordinates;
  other_coordinates.AskedIn(50);
  other_coordinates.place.Forget();
  EXPECT_GE(other_coordinates.AskedIn(20), 20);
}

TEST(PointerPlaceTest, ADisplayThatMissesAMoveIsNotTrustedAgain) {
  Desk desk;
  desk.deaf = true;
  desk.AskedIn(50);
  desk.Move(7);
  EXPECT_LE(desk.AskedIn(20), 20);
  EXPECT_EQ(desk.place.Look(), desk.pointer);
  desk.AskedIn(20);
  EXPECT_EQ(desk.AskedIn(100), 100);
}

TEST(PointerPlaceTest, AWordThatComesAfterTheAnswerIsNoMiss) {
  Desk desk;
  desk.AskedIn(22);
  desk.AskedIn(19);
  desk.deaf = true;
  desk.Move(7);  // seen by the question of this very tick
  desk.AskedIn(1);
  desk.used = true;
  desk.AskedIn(50);
  EXPECT_LT(desk.AskedIn(100), 10);
}

}  // namespace
}  // namespace vantoscope
