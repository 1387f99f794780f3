// SPDX-License-Identifier: GPL-3.0-or-later
// Form0 with real widgets on a screen in memory: what it draws and what it reports.
#include "presentation/form0.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QMouseEvent>

#include "presentation/window_behaviour.h"

namespace vantoscope {

class Form0Test : public testing::Test {
 protected:
  Form0Test() {
    form.OnResize = [this] { ++resizes, LayoutLabel(form); };
    form.OnTimer1 = form.OnTimer2 = [] {};
    form.SetLabelBackColor(0xffffff);
    form.SetDoubt(ReadingState::Live, "");
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
  QWidget& label = *form.findChild<QWidget*>("Label1");
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

// The last column with ink is the edge: one pixel less, and the reading says so.
TEST_F(Form0Test, ACutReadingSaysSoFromTheFirstPixel) {
  form.SetBorderStyle(kBare);
  Resize(600, 50);
  const QImage whole = Drawn("12345678");
  int last = whole.width() - 1;
  const auto has_ink = [&whole](int x) {
    for (int y = 0; y < whole.height(); ++y) {
      if (whole.pixelColor(x, y).lightness() < 250) return true;
    }
    return false;
  };
  while (!has_ink(last)) --last;
  EXPECT_EQ(form.ReadingIsCut(), false);
  Resize(last + 2, 50);
  EXPECT_FALSE(form.ReadingIsCut());
  EXPECT_EQ(Drawn("12345678"), whole.copy(0, 0, last + 2, 50));
  Resize(last, 50);
  EXPECT_TRUE(form.ReadingIsCut());
  const QImage cut = Drawn("12345678");
  EXPECT_NE(cut, whole.copy(0, 0, last, 50));
  EXPECT_EQ(cut.copy(0, 0, last - 8, 50), whole.copy(0, 0, last - 8, 50)) << "only at the edge";
}

TEST_F(Form0Test, EachStateHasAMarkOfItsOwnBelowTheDigitsOnAnyBackground) {
  form.SetBorderStyle(kBare);
  constexpr ReadingState kDoubts[] = {ReadingState::Waiting, ReadingState::Old,
                                      ReadingState::Stopped, ReadingState::Simulated};
  for (const auto& [width, height] :
       {std::pair(60, 16), std::pair(200, 46), std::pair(1600, 900)}) {
    for (const int back : {0xffffff, 0x000000, 0x808080}) {
      SCOPED_TRACE(std::to_string(height) + " " + std::to_string(back));
      Resize(width, height);
      form.SetLabelBackColor(back);
      form.SetLabelForeColor(0x0000ff);
      form.SetDoubt(ReadingState::Live, "");
      const QImage live = Drawn("8.8");
      std::vector<QImage> marked;
      for (const ReadingState state : kDoubts) {
        form.SetDoubt(state, "why");
        const QImage image = label.grab().toImage();
        EXPECT_EQ(label.accessibleDescription(), "why");
        const int digits_end = height * 83 / 100;
        EXPECT_EQ(image.copy(0, 0, width, digits_end), live.copy(0, 0, width, digits_end));
        int dark = 0;
        int light = 0;
        for (int x = 0; x < width; ++x) {
          for (int y = digits_end; y < height; ++y) {
            dark += image.pixelColor(x, y).lightness() < 0x40 ? 1 : 0;
            light += image.pixelColor(x, y).lightness() > 0xc0 ? 1 : 0;
          }
        }
        EXPECT_GT(dark, width / 4);
        EXPECT_GT(light, width / 4);
        for (const QImage& other : marked) EXPECT_NE(image, other);
        marked.push_back(image);
      }
    }
  }
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
