// Form0 with real widgets on a screen in memory: what it draws and what it reports.
#include "presentation/form0.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QMouseEvent>

#include "presentation/window_behaviour.h"

namespace vantoscope {
namespace {

class Paints : public QObject {
 public:
  int count = 0;

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    count += event->type() == QEvent::Paint;
    return false;
  }
};

class Form0Test : public testing::Test {
 protected:
  Form0Test() {
    form.OnResize = [this] {
      ++resizes;
      LayoutLabel(form);
    };
    form.OnTimer1 = form.OnTimer2 = [] {};
    form.OnLabelDoubleClick = [this] { ++double_clicks; };
    form.SetLabelForeColor(0);
    form.SetLabelBackColor(0xffffff);
  }
  QImage Drawn(const char* text) {
    form.SetLabelText(text);
    return label.grab().toImage();
  }
  /// First and last row, or column, with a dark pixel; -1 where there is none.
  static std::pair<int, int> Ink(const QImage& image, bool rows) {
    std::pair<int, int> ink = {-1, -1};
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, y).lightness() > 127) continue;
        const int at = rows ? y : x;
        ink.first = ink.first < 0 ? at : std::min(ink.first, at);
        ink.second = std::max(ink.second, at);
      }
    }
    return ink;
  }

  Form0 form{true};
  QLabel& label = *form.findChild<QLabel*>();
  int resizes = 0;
  int double_clicks = 0;
};

// Digits of Arial are 0.716 of the font's size high; the font is as high as the label.
TEST_F(Form0Test, DigitsFillTheLabelAtEverySize) {
  form.SetBorderStyle(kBare);
  for (const int height : {1, 2, 7, 20, 67, 100, 500}) {
    SCOPED_TRACE(height);
    form.SetHeight(TwipsFromPixels(height));
    form.SetWidth(TwipsFromPixels(height * 4));
    EXPECT_EQ(label.height(), height);
    EXPECT_EQ(label.font().pixelSize(), height);
    if (height < 20) continue;
    const auto [top, bottom] = Ink(Drawn("1234"), true);
    EXPECT_NEAR(bottom - top + 1, 0.716 * height, 0.03 * height + 1);
    EXPECT_NEAR((top + bottom) / 2.0, height / 2.0, 0.05 * height + 1);
  }
}

TEST_F(Form0Test, TooWideReadingLosesItsEnd) {
  form.SetHeight(TwipsFromPixels(50));
  form.SetWidth(TwipsFromPixels(60));
  const QImage wide = Drawn("1234567.891 mbar");
  EXPECT_EQ(wide, Drawn("1234567"));
  EXPECT_LT(Ink(wide, false).first, 8);
  EXPECT_NE(wide, Drawn("1334567"));
}

TEST_F(Form0Test, FeetOfAUnitAreNotCutOff) {
  form.SetHeight(TwipsFromPixels(100));
  form.SetWidth(TwipsFromPixels(600));
  EXPECT_LE(Ink(Drawn("12gµm"), true).second, 99);
  // A label with room below shows how deep the letters reach; the same must be there without.
  const auto [digit_top, digit_bottom] = Ink(Drawn("12"), true);
  const auto [top, bottom] = Ink(Drawn("12g"), true);
  EXPECT_NEAR(bottom - top, (digit_bottom - digit_top) + 0.21 * 100, 4);
}

TEST_F(Form0Test, RepaintsOnlyOnAChange) {
  form.Open();
  form.ShowCommand1(false);
  form.SetLabelText("1.000");
  QApplication::processEvents();
  Paints paints;
  label.installEventFilter(&paints);
  for (int tick = 0; tick < 5; ++tick) {
    form.SetLabelForeColor(0);
    form.SetLabelText("1.000");
    QApplication::processEvents();
  }
  EXPECT_EQ(paints.count, 0);
  form.SetLabelText("1.001");
  QApplication::processEvents();
  EXPECT_EQ(paints.count, 1);
  form.SetLabelForeColor(0xff);
  QApplication::processEvents();
  EXPECT_EQ(paints.count, 2);
}

TEST_F(Form0Test, OnlyTheLeftButtonDoubleClicks) {
  form.Open();
  for (const Qt::MouseButton which : {Qt::RightButton, Qt::LeftButton}) {
    const QPointF at = label.rect().center();
    QMouseEvent event(QEvent::MouseButtonDblClick, at, label.mapToGlobal(at), which, which,
                      Qt::NoModifier);
    QApplication::sendEvent(&label, &event);
    EXPECT_EQ(double_clicks, which == Qt::LeftButton ? 1 : 0);
  }
}

TEST_F(Form0Test, SizesFromAHandEditedFile) {
  struct Case {
    const char* name;
    double width;
    double expected;
  };
  const double before = form.Width().value;
  for (const Case& size :
       {Case{"zero keeps the design", 0, before}, Case{"negative keeps the design", -500, before},
        Case{"between pixels stays exact", 3007, 3007},
        Case{"beyond all screens is limited", 2e9, 4096 * 15}}) {
    resizes = 0;
    form.SetWidth(Twips{size.width});
    EXPECT_EQ(form.Width(), Twips{size.expected}) << size.name;
    EXPECT_EQ(resizes, 1) << size.name;
  }
}

TEST_F(Form0Test, UnloadsOnce) {
  int unloads = 0;
  form.OnUnload = [&] { ++unloads; };
  form.Open();
  form.close();
  form.Unload();
  EXPECT_EQ(unloads, 1);
}

}  // namespace
}  // namespace vantoscope

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
