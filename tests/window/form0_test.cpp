// Form0 with real widgets on a screen in memory: what it draws and what it reports.
#include "presentation/form0.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QMouseEvent>

#include "presentation/window_behaviour.h"

namespace vantoscope {

class Form0Test : public testing::Test {
 protected:
  Form0Test() {
    form.OnResize = [this] { ++resizes, LayoutLabel(form); };
    form.OnTimer1 = form.OnTimer2 = [] {};
    form.SetLabelBackColor(0xffffff);
  }
  void Resize(int width, int height) {
    form.SetHeight(TwipsFromPixels(height));
    form.SetWidth(TwipsFromPixels(width));
  }
  QImage Drawn(const char* text) {
    form.SetLabelText(text);
    return label.grab().toImage();
  }
  /// First and last row with a dark pixel.
  static std::pair<int, int> InkRows(const QImage& image) {
    std::pair<int, int> ink = {image.height(), -1};
    for (int at = 0; at < image.width() * image.height(); ++at) {
      const int y = at / image.width();
      if (image.pixelColor(at % image.width(), y).lightness() > 127) continue;
      ink = {std::min(ink.first, y), y};
    }
    return ink;
  }

  Form0 form{true};
  QLabel& label = *form.findChild<QLabel*>();
  int resizes = 0;
};

// Digits of Arial are 0.716 of the font's size high; the font is as high as the label.
TEST_F(Form0Test, DigitsFillTheLabelAtEverySize) {
  form.SetBorderStyle(kBare);
  for (const int height : {1, 2, 7, 20, 67, 100, 500}) {
    SCOPED_TRACE(height);
    Resize(height * 4, height);
    EXPECT_EQ(label.height(), height);
    EXPECT_EQ(label.font().pixelSize(), height);
    if (height < 20) continue;
    const auto [top, bottom] = InkRows(Drawn("1234"));
    EXPECT_NEAR(bottom - top + 1, 0.716 * height, 0.03 * height + 1);
    EXPECT_NEAR((top + bottom) / 2.0, height / 2.0, 0.05 * height + 1);
  }
}

TEST_F(Form0Test, TooWideReadingLosesItsEnd) {
  Resize(60, 50);
  const QImage wide = Drawn("1234567.891 mbar");
  EXPECT_EQ(wide, Drawn("1234567"));
  EXPECT_NE(wide, Drawn("1334567"));
}

// The feet of letters reach 0.21 of the font's size below the digits.
TEST_F(Form0Test, FeetOfAUnitAreNotCutOff) {
  Resize(600, 100);
  const auto [digit_top, digit_bottom] = InkRows(Drawn("12"));
  const auto [top, bottom] = InkRows(Drawn("12g"));
  EXPECT_NEAR(bottom - top, digit_bottom - digit_top + 21, 4);
}

TEST_F(Form0Test, RepaintsOnlyOnAChange) {
  struct Paints : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      count += event->type() == QEvent::Paint;
      return false;
    }
    int count = 0;
  } paints;
  form.Open();
  form.ShowCommand1(false);
  const auto show = [&](const char* text, std::int32_t color) {
    form.SetLabelForeColor(color);
    form.SetLabelText(text);
    QApplication::processEvents();
    return paints.count;
  };
  show("1.000", 0);
  label.installEventFilter(&paints);
  EXPECT_EQ(show("1.000", 0), 0);
  EXPECT_EQ(show("1.001", 0), 1);
  EXPECT_EQ(show("1.001", 0xff), 2);
}

TEST_F(Form0Test, OnlyTheLeftButtonDoubleClicks) {
  int clicks = 0;
  form.OnLabelDoubleClick = [&] { ++clicks; };
  for (const auto which : {Qt::RightButton, Qt::LeftButton, Qt::MiddleButton}) {
    QMouseEvent event(QEvent::MouseButtonDblClick, {9, 9}, {9, 9}, which, which, Qt::NoModifier);
    QApplication::sendEvent(&label, &event);
    EXPECT_EQ(clicks, which == Qt::RightButton ? 0 : 1);
  }
}

// No size at all keeps the design, one between pixels stays exact, one beyond all screens is cut.
TEST_F(Form0Test, SizesFromAHandEditedFile) {
  const double design = form.Width().value;
  for (const auto& [width, taken] :
       {std::pair(0.0, design), {-500, design}, {3007, 3007}, {2e9, 4096 * 15}}) {
    resizes = 0;
    form.SetWidth(Twips{width});
    EXPECT_EQ(form.Width(), Twips{taken});
    EXPECT_EQ(resizes, 1) << width;
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

}  // namespace vantoscope
