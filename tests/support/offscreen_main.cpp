// SPDX-License-Identifier: GPL-3.0-or-later
// The main of tests with real widgets: on a display that shows nothing.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication::setDesktopSettingsAware(false);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
