// The dialog with real widgets and real mouse and key events, on a display that shows nothing.
#include "settings/dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QColorDialog>
#include <QLineEdit>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <cmath>

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
  Dialog dialog_{&form_};
};

TEST_F(DialogTest, ShowsWhatItIsFilledWithAndGivesBackWhatTheUserDid) {
  EXPECT_EQ(dialog_.Fields(), kEveryField);
  DialogFields expected = kEveryField;
  for (const auto& [name, field] : {std::pair("WSText", &DialogFields::WSText),
                                    {"CalText", &DialogFields::CalText},
                                    {"CalUnitText", &DialogFields::CalUnitText},
                                    {"TransparencyText", &DialogFields::TransparencyText},
                                    {"HLText", &DialogFields::HLText},
                                    {"LLText", &DialogFields::LLText}}) {
    EXPECT_EQ(Get<QLineEdit>(name).text().toStdString(), kEveryField.*field) << name;
    Click(name);
    QTest::keyClick(&Get(name), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&Get(name), name);
    expected.*field = name;
  }
  EXPECT_EQ(Get<QLineEdit>("ChnIdxText").text(), "2");
  EXPECT_FALSE(Get("ChnIdxText").isEnabled());
  EXPECT_EQ(Color("FGLabel") + Color("BGLabel") + Color("HLLabel") + Color("LLLabel"),
            "#030201#0c0b0a#121110#222120");
  for (const char* name : {"RMSOption", "ShowUnitCheck", "EnableAlarmCheck"}) Click(name);
  expected.Option = kMethodRms;
  expected.ShowUnitCheck = true;
  expected.EnableAlarmCheck = false;
  EXPECT_EQ(dialog_.Fields(), expected);
}

TEST_F(DialogTest, OneOptionIsSetOrNone) {
  const char* const captions[] = {"None", "Min", "Max", "Ave", "RMS", "AC RMS", ""};
  for (std::int16_t method = -1; method <= kMethodCalc; ++method) {
    Dialog dialog(&form_);
    DialogFields fields;
    if (method >= 0) fields.Option = method;
    dialog.Fill(fields);
    EXPECT_EQ(dialog.Fields().Option, fields.Option);
    for (const auto* option : dialog.findChildren<QRadioButton*>())
      EXPECT_EQ(option->isChecked(), method >= 0 && option->text() == captions[method]) << method;
  }
}

// Texts that are no UTF-8 and colours beyond 24 bits come from files of old; looking at them does
// not change them.
TEST_F(DialogTest, GivesBackUntouchedWhatNobodyTouched) {
  DialogFields fields = kEveryField;
  fields.CalUnitText = "\xB5m/m";
  fields.FGLabel = -1;
  dialog_.Fill(fields);
  EXPECT_EQ(dialog_.Fields(), fields);
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
}

TEST_F(DialogTest, OnlySpaceAndTheButtonsActNotEnterOrEscape) {
  for (const char* name : {"OKButton", "Command5", "WSText", "AveOption", "EnableAlarmCheck"}) {
    Get(name).setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) Key(key);
    EXPECT_TRUE(dialog_.isVisible()) << name;
  }
  Key(Qt::Key_Space);
  EXPECT_FALSE(dialog_.Fields().EnableAlarmCheck);
  Get("OKButton").setFocus();
  Key(Qt::Key_Space);
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(dialog_.result(), QDialog::Accepted);
}

TEST_F(DialogTest, StandsAsDrawnAndNoControlCoversAnother) {
  EXPECT_EQ(Get("LLLabel").geometry(), QRect(144, 64, 73, 17));  // 15 twips to the pixel
  dialog_.resize(600, 600);
  EXPECT_EQ(dialog_.size(), QSize(481, 274));
  const auto controls = dialog_.findChildren<QWidget*>(QRegularExpression("^[A-Z]"));
  for (const auto* one : controls) {
    const std::string name = one->objectName().toStdString();
    EXPECT_TRUE(one->parentWidget()->rect().contains(one->geometry())) << name;
    for (const auto* other : controls) {
      if (one == other || one->parent() != other->parent()) continue;
      // CalText begins on the last pixel of CalOption, beside its circle.
      EXPECT_FALSE(one->geometry().adjusted(1, 0, -1, 0).intersects(other->geometry())) << name;
    }
  }
}

// Run at every scale (see CMakeLists.txt): with more room a caption would not draw more than it
// does now.
TEST_F(DialogTest, EveryCaptionFits) {
  const auto widgets = dialog_.findChildren<QWidget*>(QRegularExpression("Option|Check|Label"));
  EXPECT_EQ(widgets.size(), 18);
  for (auto* widget : widgets) {
    const double scale = widget->devicePixelRatioF();
    const int width = widget->width();
    QPalette plain = widget->palette();
    plain.setColor(QPalette::Window, Qt::white);
    widget->setPalette(plain);
    widget->resize(width + 80, widget->height());
    QImage wide(widget->size() * scale, QImage::Format_RGB32);
    wide.setDevicePixelRatio(scale);
    wide.fill(Qt::white);
    widget->render(&wide, {}, {}, {});
    const QImage beyond = wide.copy(static_cast<int>(std::ceil(width * scale)), 0,
                                    static_cast<int>(79 * scale), wide.height());
    QImage blank = beyond;
    blank.fill(Qt::white);
    EXPECT_EQ(beyond, blank) << widget->objectName().toStdString();
  }
  EXPECT_GE(dialog_.font().pointSizeF(), 6.5) << "too small to read";
}

TEST_F(DialogTest, ASampleIsLegibleInEveryColour) {
  for (const QColor color : {"#ffffff", "#ffff00", "#ff0000", "#808080", "#000000"}) {
    DialogFields fields = kEveryField;
    fields.BGLabel = color.red() | color.green() << 8 | color.blue() << 16;
    dialog_.Fill(fields);
    const QImage image = Get("BGLabel").grab().toImage();
    bool exact = false;
    for (int at = 0; at < image.width() * image.height(); ++at)
      exact |= image.pixel(at % image.width(), at / image.width()) == color.rgb();
    EXPECT_TRUE(exact) << color.name().toStdString();
    const QRgb behind = image.pixel(2, image.height() / 2);
    EXPECT_GT(std::abs(qGray(behind) - qGray(color.rgb())), 70) << color.name().toStdString();
  }
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

TEST(ModalDialogTest, OkGivesTheFieldsCancelAndTheFrameGiveNothing) {
  QWidget form;
  const auto run = [&](const std::vector<const char*>& buttons) {
    QTimer::singleShot(0, &form, [&] {
      QWidget* dialog = QApplication::activeModalWidget();
      for (const char* name : buttons)
        QTest::mouseClick(dialog->findChild<QWidget*>(name), Qt::LeftButton, {}, QPoint(8, 8));
      dialog->close();
    });
    return ModalDialog(form)(kEveryField);
  };
  DialogFields expected = kEveryField;
  expected.Option = kMethodCalc;
  EXPECT_EQ(run({"CalOption", "OKButton"}), expected);
  EXPECT_EQ(run({"CalOption", "Command5"}), std::nullopt);
  EXPECT_EQ(run({"CalOption"}), std::nullopt);
  EXPECT_EQ(run({"OKButton"}), kEveryField);  // a new opening starts afresh
}

}  // namespace vantoscope::test
