// SPDX-License-Identifier: GPL-3.0-or-later
// The equation field in its dialog, over a meter of eight channels and the real evaluator.
#include "settings/equation_field.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <QTreeView>
#include <algorithm>
#include <cmath>

#include "equation/muparser_evaluator.h"
#include "settings/dialog.h"
#include "tests/dialog/example_fields.h"
#include "tests/support/spy.h"

namespace vantoscope::test {

struct EightChannels : SpyMeter {
  EightChannels() {
    SetNumbers({1, 2, 3, 4, 5, 6, 7, 8});
    platform.CreateEvaluator = CreateMuParserEvaluator;
    Hold([](int j, int) { return j + 1.5; });
  }
};

class EquationFieldTest : public testing::Test {
 protected:
  EquationFieldTest() {
    form_.show();
    dialog_.Fill(kEveryField);
    dialog_.HelpWithEquation(help_);
    dialog_.show();
    dialog_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog_));
    field_.setFocus();
    field_.findChild<QTimer*>()->setInterval(0);
  }

  static void Key(Qt::Key key, Qt::KeyboardModifiers with = Qt::NoModifier) {
    QTest::keyClick(QApplication::focusWidget(), key, with);
  }
  static void Type(const char* text) { QTest::keyClicks(QApplication::focusWidget(), text); }
  bool ListIsOpen() { return field_.findChild<QTreeView*>()->isVisible(); }
  void Put(const QString& text) {
    field_.clear();
    field_.insert(text);
  }
  /// Left and right end of what is painted in the colour of an error or a warning, and that colour.
  struct Line {
    int from = -1;
    int to = -1;
    QColor color;
  };
  Line Painted() {
    field_.setReadOnly(true);  // no cursor
    const QImage with = field_.grab().toImage();
    const auto base = field_.palette().color(QPalette::Base);
    Line line;
    for (int x = 3; x < with.width() - 3; ++x) {
      for (int y = 3; y < with.height() - 2; ++y) {
        const QColor color = with.pixelColor(x, y);
        if (color.saturation() < 120 || std::abs(color.value() - base.value()) < 20) continue;
        if (line.from < 0) line.from = x;
        line.to = x;
        if (!line.color.isValid() || Contrast(color, base) > Contrast(line.color, base)) {
          line.color = color;
        }
      }
    }
    field_.setReadOnly(false);
    return line;
  }
  static double Luminance(const QColor& color) {
    const auto linear = [](double c) {
      return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
  }
  static double Contrast(const QColor& one, const QColor& other) {
    const double a = Luminance(one) + 0.05;
    const double b = Luminance(other) + 0.05;
    return std::max(a, b) / std::min(a, b);
  }

  EightChannels meter_;
  EquationHelp help_{meter_.meter, [](std::int16_t) { return "Tank"; }};
  QWidget form_;
  Dialog dialog_{&form_, false};
  EquationField& field_ = *dialog_.findChild<EquationField*>("CalText");
};

TEST_F(EquationFieldTest, UnderlinesThePartAlsoWhereTheTextHasScrolled) {
  Put("(CH1)^2");
  EXPECT_EQ(Painted().from, -1);
  for (const QColor base : {QColor(Qt::white), QColor(0x20, 0x22, 0x25)}) {
    QPalette palette = field_.palette();
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Text, base == Qt::white ? Qt::black : Qt::white);
    field_.setPalette(palette);
    for (const char* wrong : {"CH99", "CH4^2"}) {
      Put(QString("1+") + wrong);
      const Line line = Painted();
      const int begin = 5 + field_.fontMetrics().horizontalAdvance("1+");
      const int width = field_.fontMetrics().horizontalAdvance(QString(wrong).left(4));
      EXPECT_NEAR(line.from, begin, 3) << wrong;
      EXPECT_NEAR(line.to, begin + width, 4) << wrong;
      EXPECT_GE(Contrast(line.color, base), 3) << wrong;
    }
  }
  Put(QString("1+").repeated(60) + "CH99");
  const Line line = Painted();
  EXPECT_NEAR(line.to, field_.width() - 5, 4);
  EXPECT_NEAR(line.to - line.from, field_.fontMetrics().horizontalAdvance("CH99"), 4);
}

TEST_F(EquationFieldTest, SaysTheReasonOrTheValueNow) {
  meter_.log.clear();
  Put("CH99");
  EXPECT_EQ(field_.State(), "Channel 99 is not in the list (1 to 8).");
  EXPECT_TRUE(QTest::qWaitFor([&] { return field_.accessibleDescription() != ""; }));
  EXPECT_EQ(field_.accessibleDescription(),
            "At character 1: Channel 99 is not in the list (1 to 8).");
  Put("CH1+CH8");  // 1.5 and 8.5, by the picture 0.000, in the unit of the dialog
  EXPECT_EQ(field_.State(), "Now 10.000 µm/m");
  EXPECT_TRUE(QTest::qWaitFor([&] { return field_.accessibleDescription() == "Now 10.000 µm/m"; }));
  EXPECT_EQ(meter_.log.Text({"Start", "Stop", "Timer1", "Message", "LabelText"}), "");
}

TEST_F(EquationFieldTest, TheListTakesItsKeysAndTheDialogNone) {
  field_.clear();
  Type("2*s");
  ASSERT_TRUE(ListIsOpen());
  Key(Qt::Key_Down);
  Key(Qt::Key_Return);
  EXPECT_EQ(field_.text(), "2*sin(");
  Type("CH2");  // a whole word, which Tab leaves as it is
  ASSERT_TRUE(ListIsOpen());
  Key(Qt::Key_Escape);
  EXPECT_FALSE(ListIsOpen());
  EXPECT_TRUE(dialog_.isVisible());
  EXPECT_TRUE(field_.hasFocus());
  Type(")+ra");
  Key(Qt::Key_Tab);
  EXPECT_EQ(field_.text(), "2*sin(CH2)+RATE");
  EXPECT_TRUE(field_.hasFocus());
  field_.setCursorPosition(8);  // in CH2, which goes as a whole
  Key(Qt::Key_Down);
  for (int row = 0; row < 3; ++row) Key(Qt::Key_Down);
  Key(Qt::Key_Enter);
  EXPECT_EQ(field_.text(), "2*sin(CH3)+RATE");
  for (int i = 0; i < 20 && field_.isUndoAvailable(); ++i) Key(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(field_.text(), kEveryField.CalText.c_str());
  EXPECT_FALSE(ListIsOpen());
  field_.clear();
  Type("CH1");
  Key(Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget()->objectName(), "CalUnitText");
  EXPECT_FALSE(ListIsOpen());
}

// 254 bytes; a sign of two bytes counts as two.
TEST_F(EquationFieldTest, TakesWhatTheFileGivesBackWhole) {
  const QString full = QString("9").repeated(252) + "µ";
  Put(full);
  Type("1");
  EXPECT_EQ(field_.text(), full);
  QGuiApplication::clipboard()->setText(full + "µ");
  field_.selectAll();
  field_.paste();
  EXPECT_EQ(field_.text(), full);
  QGuiApplication::clipboard()->setText("1+\n2");
  field_.paste();
  EXPECT_EQ(field_.text(), "1+ 2");
  auto& unit = *dialog_.findChild<QLineEdit*>("CalUnitText");
  unit.clear();
  unit.insert(" m s");
  EXPECT_EQ(dialog_.Fields().CalUnitText, "\u00A0m s");
}

}  // namespace vantoscope::test
