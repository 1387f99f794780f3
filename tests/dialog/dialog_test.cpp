// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog with real widgets and real mouse and key events, on a display that shows nothing.
#include "settings/dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QColorDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

#include "presentation/look.h"
#include "presentation/message_box.h"
#include "settings/dialog_controls.h"
#include "tests/dialog/example_fields.h"

namespace vantoscope::test {

class DialogTest : public testing::Test {
 protected:
  DialogTest() {
    form_.show();
    dialog_.Fill(kEveryField);
    dialog_.show();
    dialog_.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog_));
  }

  template <typename Widget = QWidget>
  Widget& Get(const char* name) {
    return *dialog_.findChild<Widget*>(name);
  }
  QString Color(const char* name) { return Get(name).palette().color(QPalette::WindowText).name(); }
  void Click(const char* name) {
    auto& widget = Get(name);
    QTest::mouseClick(&widget, Qt::LeftButton, {}, QPoint(8, widget.height() / 2));
  }
  static void Key(Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); }
  static QString Focus() { return QApplication::focusWidget()->objectName(); }

  QWidget form_;
  Dialog dialog_{&form_, false};
};

TEST_F(DialogTest, ShowsWhatItIsFilledWithAndGivesBackWhatTheUserDid) {
  EXPECT_EQ(dialog_.Fields(), kEveryField);
  const auto text = [&](const char* name) { return Get<QLineEdit>(name).text() + "|"; };
  EXPECT_EQ(text("WSText") + text("CalText") + text("CalUnitText") + text("TransparencyText") +
                text("HLText") + text("LLText") + text("ChnIdxText"),
            "1234| CH1*2 |µm/m|77|12.5|-1E+10|2|");
  EXPECT_FALSE(Get("ChnIdxText").isEnabled());
  EXPECT_EQ(Color("FGLabel") + Color("BGLabel") + Color("HLLabel") + Color("LLLabel"),
            "#030201#0c0b0a#121110#222120");
  for (const char* name : {"RMSOption", "ShowUnitCheck", "EnableAlarmCheck", "HLText"}) Click(name);
  QTest::keyClick(&Get("HLText"), Qt::Key_A, Qt::ControlModifier);
  QTest::keyClicks(&Get("HLText"), "-3.5e2");
  DialogFields expected = kEveryField;
  expected.Option = kMethodRms;
  expected.ShowUnitCheck = true;
  expected.EnableAlarmCheck = false;
  expected.HLText = "-3.5e2";
  EXPECT_EQ(dialog_.Fields(), expected);
}

TEST_F(DialogTest, EachOptionIsItsMethod) {
  const char* const captions[] = {"None", "Min", "Max", "Ave", "RMS", "AC RMS", ""};
  for (auto* option : dialog_.findChildren<QRadioButton*>()) {
    QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(8, 8));
    EXPECT_EQ(option->text(), captions[dialog_.Fields().Option.value()]);
  }
}

// Texts that are no UTF-8, colours beyond 24 bits and no option at all come from files of old;
// looking at them does not change them.
TEST_F(DialogTest, GivesBackUntouchedWhatNobodyTouched) {
  DialogFields fields = kEveryField;
  fields.CalUnitText = "\xB5m/m";
  fields.FGLabel = -1;
  fields.Option.reset();
  Dialog dialog(&form_, false);
  dialog.Fill(fields);
  EXPECT_EQ(dialog.Fields(), fields);
}

TEST_F(DialogTest, TheTabKeyWalksItsOrderAndStopsOnceAtTheOptions) {
  int stops = 0;
  for (int last = -1;; ++stops) {
    const auto* control = std::ranges::find_if(
        kDialogControls, [](const DialogControl& c) { return c.name == Focus(); });
    ASSERT_NE(control, kDialogControls.end());
    if (control->tab <= last) break;  // round once
    last = control->tab;
    EXPECT_TRUE(control->kind != ControlKind::Option || Focus() == "AveOption");
    Key(Qt::Key_Tab);
  }
  EXPECT_EQ(stops, 16);
  EXPECT_EQ(Focus(), "Command1");
  Click("MinOption");
  for (const Qt::Key arrow : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Down, Qt::Key_Left}) Key(arrow);
  EXPECT_EQ(Focus(), "RMSOption");
  EXPECT_EQ(dialog_.Fields().Option, kMethodRms);
  Key(Qt::Key_Tab);
  EXPECT_EQ(Focus(), "ShowUnitCheck");
}

TEST_F(DialogTest, OnlySpaceAndTheButtonsActNotEnterOrEscape) {
  for (const char* name : {"OKButton", "Command5", "WSText", "AveOption", "EnableAlarmCheck"}) {
    Get(name).setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
      Key(key);
      ASSERT_TRUE(dialog_.isVisible()) << name;
    }
  }
  Key(Qt::Key_Space);
  EXPECT_FALSE(dialog_.Fields().EnableAlarmCheck);
  Get("OKButton").setFocus();
  Key(Qt::Key_Space);
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(dialog_.result(), QDialog::Accepted);
}

TEST_F(DialogTest, StandsAsDrawn) {
  EXPECT_EQ(Get("LLLabel").geometry(), QRect(144, 64, 73, 17));  // 15 twips to the pixel
  dialog_.resize(600, 600);
  EXPECT_EQ(dialog_.size(), QSize(481, 274));
}

// Run at every scale (see CMakeLists.txt): with more room a caption would not draw more than it
// does now.
TEST_F(DialogTest, EveryCaptionFits) {
  const auto widgets = dialog_.findChildren<QWidget*>(QRegularExpression("Option|Check|Label"));
  EXPECT_EQ(widgets.size(), 18);
  for (auto* widget : widgets) {
    const QRect room(widget->width(), 0, 79, widget->height());
    widget->resize(widget->width() + 80, widget->height());
    const QImage beyond = widget->grab(room).toImage();
    QImage blank = beyond;
    blank.fill(beyond.pixelColor(beyond.width() - 1, 0));
    EXPECT_EQ(beyond, blank) << widget->objectName().toStdString();
  }
  EXPECT_GE(dialog_.font().pointSizeF(), 6.5) << "too small to read";
}

// The letters are of the colour itself; what lies beside them is the window or an outline, no
// plate.
TEST_F(DialogTest, ASampleIsLegibleInEveryColour) {
  for (const QColor color : {"#ffffff", "#ffff00", "#ff0000", "#808080", "#000000"}) {
    SCOPED_TRACE(color.name().toStdString());
    DialogFields fields = kEveryField;
    fields.BGLabel = color.red() | color.green() << 8 | color.blue() << 16;
    dialog_.Fill(fields);
    const QImage image = Get("BGLabel").grab().toImage();
    const QColor window = dialog_.palette().color(QPalette::Window);
    bool exact = false;
    double best = 0;
    for (int at = 0; at < image.width() * image.height(); ++at) {
      const QColor pixel = image.pixelColor(at % image.width(), at / image.width());
      exact |= pixel == color;
      best = std::max(best, Contrast(pixel, color));
    }
    EXPECT_TRUE(exact);
    EXPECT_GE(best, 3);
    for (int y = 0; y < image.height(); ++y) EXPECT_EQ(image.pixelColor(0, y), window);
  }
}

// 3 to 1 is what the accessibility guidelines want between parts of a control and what is beside.
TEST_F(DialogTest, EmptyControlsAndFramesStandOutInLightAndDark) {
  const QPalette light = QApplication::palette();
  for (const QColor window : {QColor(0xef, 0xef, 0xef), QColor(0x32, 0x32, 0x32)}) {
    QApplication::setPalette(QPalette(window));
    for (const char* name : {"ShowUnitCheck", "MinOption", "CalOption", "TransparencyText",
                             "OKButton", "Command2", "Frame4"}) {
      const QImage image = Get(name).grab(QRect(0, 0, 2, Get(name).height())).toImage();
      double line = 1;
      for (int y = 0; y < image.height(); ++y) {
        line = std::max({line, Contrast(image.pixelColor(0, y), window),
                         Contrast(image.pixelColor(1, y), window)});
      }
      EXPECT_GE(line, 3) << name << " on " << window.name().toStdString();
    }
  }
  QApplication::setPalette(light);
}

TEST_F(DialogTest, TheKeyboardIsSeenFromTheFirstMoment) {
  const auto ring = [&](const char* name) {
    return Get(name).grab().toImage().pixelColor(1, Get(name).height() / 2);
  };
  const QColor expected = dialog_.palette().color(QPalette::Highlight);
  EXPECT_EQ(ring("Command1"), expected);
  EXPECT_GE(Contrast(expected, dialog_.palette().color(QPalette::Window)), 3);
  for (const char* name : {"HLText", "EnableAlarmCheck", "AveOption", "OKButton"}) {
    EXPECT_NE(ring(name), expected);
    Get(name).setFocus();
    EXPECT_EQ(ring(name), expected) << name;
  }
}

TEST_F(DialogTest, TheOptionOfTheEquationStandsOnTheLineOfItsField) {
  const QImage image = Get("CalOption").grab().toImage();
  const QColor window = dialog_.palette().color(QPalette::Window);
  int first = image.height();
  int last = 0;
  for (int at = 0; at < image.width() * image.height(); ++at) {
    if (image.pixelColor(at % image.width(), at / image.width()) == window) continue;
    first = std::min(first, at / image.width());
    last = at / image.width();
  }
  EXPECT_EQ(first + last + 1, Get("CalText").height());
}

TEST_F(DialogTest, PickerAndBoxesHaveTheLookOfTheDialog) {
  MessageBox box(MessageIcon::Critical, "why", QDialogButtonBox::Ok, nullptr);
  EXPECT_EQ(box.font(), dialog_.font());
  QTimer::singleShot(0, &dialog_, [&] {
    QWidget* picker = QApplication::activeModalWidget();
    EXPECT_EQ(picker->font(), dialog_.font());
    int coloured = 0;
    for (const auto* button : picker->findChildren<QPushButton*>()) {
      EXPECT_TRUE(button->icon().isNull());
      EXPECT_FALSE(button->text().contains("olor")) << button->text().toStdString();
      coloured += button->text().contains("olour");
    }
    EXPECT_EQ(coloured, 2);
    picker->close();
  });
  Click("Command1");
}

// Opens the picker of a button and chooses or leaves there; the colour it began with.
QString InPicker(QWidget& button, const char* chosen, bool accept) {
  QString first;
  QTimer::singleShot(0, &button, [&] {
    auto* picker = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(picker);
    first = picker->currentColor().name();
    picker->setCurrentColor(QColor(chosen));
    accept ? picker->accept() : QTest::keyClick(picker, Qt::Key_Escape);
  });
  QTest::mouseClick(&button, Qt::LeftButton);
  return first;
}

TEST_F(DialogTest, ThePickerStartsAtTheSampleAndOnlyOkChangesIt) {
  EXPECT_EQ(InPicker(Get("Command2"), "#102030", true), "#0c0b0a");
  EXPECT_EQ(Color("BGLabel"), "#102030");
  EXPECT_EQ(dialog_.palette(), QPalette(QApplication::palette()));
  // Not at the colour that another sample got last.
  EXPECT_EQ(InPicker(Get("Command3"), "#405060", false), "#121110");
  DialogFields expected = kEveryField;
  expected.BGLabel = 0x302010;
  EXPECT_EQ(dialog_.Fields(), expected);
  EXPECT_TRUE(dialog_.isVisible());
}

TEST(ModalDialogTest, OnlyOkGivesTheFields) {
  QWidget form;
  for (const char* button : {"OKButton", "Command5", "the frame"}) {
    QTimer::singleShot(0, &form, [&] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (auto* pressed = dialog->findChild<QWidget*>(button))
        QTest::mouseClick(pressed, Qt::LeftButton);
      dialog->close();
    });
    const auto fields = ModalDialog(form)(kEveryField);
    EXPECT_EQ(fields,
              button == std::string("OKButton") ? std::optional(kEveryField) : std::nullopt);
  }
}

}  // namespace vantoscope::test
