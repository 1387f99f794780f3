// The dialog with real widgets and real mouse and key events, on a display that shows nothing.
#include "settings/dialog.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QColorDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>
#include <cmath>

#include "tests/dialog/example_fields.h"

namespace vantoscope::test {
namespace {

std::string Name(const QWidget* widget) {
  return widget ? widget->objectName().toStdString() : "nothing";
}

using Names = std::vector<std::string>;

void PaintPlain(QWidget& widget) {
  QPalette plain = widget.palette();
  plain.setColor(QPalette::Window, Qt::white);
  widget.setPalette(plain);
}

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
  std::string Color(const char* name) {
    return Get(name).palette().color(QPalette::WindowText).name().toStdString();
  }
  void Click(const char* name) {
    auto& widget = Get(name);
    QTest::mouseClick(&widget, Qt::LeftButton, {}, QPoint(8, widget.height() / 2));
  }
  void Retype(const char* name, const char* text) {
    Click(name);
    QTest::keyClick(&Get(name), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&Get(name), Qt::Key_Delete);
    QTest::keyClicks(&Get(name), text);
  }
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
  }

  QWidget form_;
  Dialog dialog_{&form_};
};

TEST_F(DialogTest, ShowsWhatItIsFilledWithAndGivesBackWhatTheUserDid) {
  EXPECT_EQ(dialog_.Fields(), kEveryField);
  DialogFields expected = kEveryField;
  const std::tuple<const char*, std::string DialogFields::*, const char*> kTexts[] = {
      {"WSText", &DialogFields::WSText, "1000"},
      {"CalText", &DialogFields::CalText, "(CH1-CH2)/2"},
      {"CalUnitText", &DialogFields::CalUnitText, "m"},
      {"TransparencyText", &DialogFields::TransparencyText, ""},
      {"HLText", &DialogFields::HLText, "250"},
      {"LLText", &DialogFields::LLText, "-3.5e2"}};
  for (const auto& [name, field, text] : kTexts) {
    EXPECT_EQ(Get<QLineEdit>(name).text().toStdString(), kEveryField.*field) << name;
    Retype(name, text);
    expected.*field = text;
  }
  EXPECT_EQ(Get<QLineEdit>("ChnIdxText").text(), "2");
  EXPECT_FALSE(Get("ChnIdxText").isEnabled());
  EXPECT_TRUE(Get<QCheckBox>("EnableAlarmCheck").isChecked());
  EXPECT_FALSE(Get<QCheckBox>("ShowUnitCheck").isChecked());
  const Names colors{Color("FGLabel"), Color("BGLabel"), Color("HLLabel"), Color("LLLabel")};
  EXPECT_EQ(colors, (Names{"#030201", "#0c0b0a", "#121110", "#222120"}));
  for (const char* name : {"RMSOption", "ShowUnitCheck", "EnableAlarmCheck"}) Click(name);
  expected.Option = kMethodRms;
  expected.ShowUnitCheck = true;
  expected.EnableAlarmCheck = false;
  EXPECT_EQ(dialog_.Fields(), expected);
}

TEST_F(DialogTest, OneOptionIsSetOrNone) {
  const std::pair<std::optional<std::int16_t>, const char*> kRows[] = {
      {kMethodNone, "NoneOption"}, {kMethodMin, "MinOption"}, {kMethodMax, "MaxOption"},
      {kMethodAve, "AveOption"},   {kMethodRms, "RMSOption"}, {kMethodAcRms, "ACRMSOption"},
      {kMethodCalc, "CalOption"},  {std::nullopt, nullptr},
  };
  for (const auto& [option, name] : kRows) {
    Dialog dialog(&form_);
    DialogFields fields;
    fields.Option = option;
    dialog.Fill(fields);
    Names set;
    for (const auto* button : dialog.findChildren<QRadioButton*>()) {
      if (button->isChecked()) set.push_back(Name(button));
    }
    EXPECT_EQ(set, name ? Names{name} : Names{});
    EXPECT_EQ(dialog.Fields().Option, option);
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

TEST_F(DialogTest, TheTabKeyWalksItsOrder) {
  const Names expected{"Command1",    "Command2",      "Command3",         "Command4",
                       "HLText",      "LLText",        "EnableAlarmCheck", "WSText",
                       "AveOption",   "ShowUnitCheck", "TransparencyText", "CalText",
                       "CalUnitText", "Command5",      "OKButton",         "Command6"};
  Names walked;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    walked.push_back(Name(QApplication::focusWidget()));
    Key(Qt::Key_Tab);
  }
  EXPECT_EQ(walked, expected);
  EXPECT_EQ(Name(QApplication::focusWidget()), "Command1");
  Key(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(Name(QApplication::focusWidget()), "Command6");
}

TEST_F(DialogTest, ArrowsWalkTheOptions) {
  Click("MinOption");
  const std::pair<Qt::Key, const char*> kSteps[] = {
      {Qt::Key_Right, "AveOption"}, {Qt::Key_Right, "ACRMSOption"}, {Qt::Key_Down, "NoneOption"},
      {Qt::Key_Left, "RMSOption"},  {Qt::Key_Left, "MaxOption"},    {Qt::Key_Down, "CalOption"},
      {Qt::Key_Up, "MaxOption"},    {Qt::Key_Up, "MinOption"},
  };
  for (const auto& [key, name] : kSteps) {
    Key(key);
    EXPECT_TRUE(Get<QRadioButton>(name).isChecked()) << name;
    EXPECT_EQ(Name(QApplication::focusWidget()), name);
  }
}

TEST_F(DialogTest, OnlySpaceAndTheButtonsActNotEnterOrEscape) {
  for (const char* name : {"OKButton", "Command5", "WSText", "AveOption", "EnableAlarmCheck"}) {
    Get(name).setFocus();
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Escape}) {
      Key(key);
      EXPECT_TRUE(dialog_.isVisible()) << name;
    }
  }
  Key(Qt::Key_Space);
  EXPECT_FALSE(Get<QCheckBox>("EnableAlarmCheck").isChecked());
  Get("OKButton").setFocus();
  Key(Qt::Key_Space);
  EXPECT_FALSE(dialog_.isVisible());
  EXPECT_EQ(dialog_.result(), QDialog::Accepted);
}

TEST_F(DialogTest, StandsAsDrawn) {
  const std::pair<const char*, QRect> kRows[] = {
      // pixels from the corner of the frame
      {"Frame3", {8, 8, 225, 137}},     {"Frame2", {248, 120, 225, 113}},
      {"Command6", {356, 240, 57, 25}}, {"ACRMSOption", {136, 56, 73, 17}},
      {"CalText", {24, 104, 145, 19}},  {"LLLabel", {144, 64, 73, 17}},
  };
  EXPECT_EQ(dialog_.size(), QSize(481, 274));
  for (const auto& [name, pixels] : kRows) EXPECT_EQ(Get(name).geometry(), pixels) << name;
  QTest::mousePress(&dialog_, Qt::LeftButton, {}, QPoint(480, 273));
  dialog_.resize(600, 600);
  EXPECT_EQ(dialog_.size(), QSize(481, 274));
}

TEST_F(DialogTest, NoControlLeavesItsFrameOrCoversAnother) {
  for (auto* parent :
       QList<QWidget*>{&dialog_, &Get("Frame1"), &Get("Frame2"), &Get("Frame3"), &Get("Frame4")}) {
    const auto children =
        parent->findChildren<QWidget*>(QRegularExpression("^[A-Z]"), Qt::FindDirectChildrenOnly);
    EXPECT_GE(children.size(), 3);
    for (int i = 0; i < children.size(); ++i) {
      EXPECT_TRUE(parent->rect().contains(children[i]->geometry())) << Name(children[i]);
      for (int j = 0; j < i; ++j) {
        // CalText begins on the last pixel of CalOption, beside its circle.
        const QRect drawn = children[i]->geometry().adjusted(1, 0, 0, 0);
        EXPECT_FALSE(drawn.intersects(children[j]->geometry()))
            << Name(children[i]) << " and " << Name(children[j]);
      }
    }
  }
}

// Run at every scale (see CMakeLists.txt): with more room a caption would not draw more than it
// does now.
TEST_F(DialogTest, EveryCaptionFits) {
  int captions = 0;
  for (auto* widget : dialog_.findChildren<QWidget*>(QRegularExpression("Option|Check|Label"))) {
    const int width = widget->width();
    PaintPlain(*widget);
    widget->resize(width + 80, widget->height());
    QImage wide(widget->size() * widget->devicePixelRatioF(), QImage::Format_RGB32);
    wide.setDevicePixelRatio(widget->devicePixelRatioF());
    wide.fill(Qt::white);
    widget->render(&wide, {}, {}, {});
    for (int x = static_cast<int>(std::ceil(width * wide.devicePixelRatio())); x < wide.width();
         ++x) {
      for (int y = 0; y < wide.height(); ++y) {
        ASSERT_EQ(wide.pixel(x, y), qRgb(255, 255, 255)) << Name(widget) << " at " << x;
      }
    }
    ++captions;
  }
  EXPECT_EQ(captions, 18);
  EXPECT_GE(dialog_.font().pointSizeF(), 6.5) << "too small to read";
}

TEST_F(DialogTest, ASampleIsLegibleInEveryColour) {
  for (const QColor color : {"#ffffff", "#ffff00", "#ff0000", "#808080", "#000000"}) {
    DialogFields fields = kEveryField;
    fields.BGLabel = color.red() | color.green() << 8 | color.blue() << 16;
    dialog_.Fill(fields);
    const QImage image = Get("BGLabel").grab().toImage();
    bool exact = false;
    for (int x = 0; x < image.width(); ++x) {
      for (int y = 0; y < image.height(); ++y) exact |= image.pixel(x, y) == color.rgb();
    }
    EXPECT_TRUE(exact) << color.name().toStdString();
    const QColor behind = image.pixelColor(2, image.height() / 2);
    EXPECT_GT(std::abs(qGray(behind.rgb()) - qGray(color.rgb())), 70) << color.name().toStdString();
  }
}

// Opens the picker of a button and does `act` in it; the colour it began with.
QColor InPicker(QWidget& button, const std::function<void(QColorDialog&)>& act) {
  QColor first;
  QTimer::singleShot(0, &button, [&] {
    auto* picker = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
    ASSERT_TRUE(picker);
    first = picker->currentColor();
    act(*picker);
  });
  QTest::mouseClick(&button, Qt::LeftButton);
  return first;
}

TEST_F(DialogTest, ThePickerStartsAtTheSampleAndOnlyOkChangesIt) {
  EXPECT_EQ(InPicker(Get("Command2"),
                     [](QColorDialog& picker) {
                       picker.setCurrentColor(QColor("#102030"));
                       picker.accept();
                     })
                .name(),
            "#0c0b0a");
  EXPECT_EQ(Color("BGLabel"), "#102030");
  EXPECT_EQ(dialog_.palette(), QPalette(QApplication::palette()));

  // Not at the colour that another sample got last.
  EXPECT_EQ(InPicker(Get("Command3"),
                     [](QColorDialog& picker) {
                       picker.setCurrentColor(QColor("#405060"));
                       QTest::keyClick(&picker, Qt::Key_Escape);
                     })
                .name(),
            "#121110");
  DialogFields expected = kEveryField;
  expected.BGLabel = 0x302010;
  EXPECT_EQ(dialog_.Fields(), expected);
  EXPECT_TRUE(dialog_.isVisible());
}

class ModalDialogTest : public testing::Test {
 protected:
  // Shows the dialog as the meter does, and does `act` in it.
  std::optional<DialogFields> Run(const std::function<void(QDialog&)>& act) {
    QTimer::singleShot(0, &form_, [&] {
      auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      ASSERT_TRUE(dialog);
      act(*dialog);
    });
    return ModalDialog(form_)(kEveryField);
  }
  static void Press(QDialog& dialog, const char* button) {
    QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);
  }

  QWidget form_;
};

TEST_F(ModalDialogTest, OkGivesTheFieldsCancelAndTheFrameGiveNothing) {
  const auto edit = [](QDialog& dialog) {
    QTest::mouseClick(dialog.findChild<QRadioButton*>("CalOption"), Qt::LeftButton);
  };
  DialogFields expected = kEveryField;
  expected.Option = kMethodCalc;
  EXPECT_EQ(Run([&](QDialog& dialog) { edit(dialog), Press(dialog, "OKButton"); }), expected);
  EXPECT_EQ(Run([&](QDialog& dialog) { edit(dialog), Press(dialog, "Command5"); }), std::nullopt);
  EXPECT_EQ(Run([&](QDialog& dialog) { edit(dialog), dialog.close(); }), std::nullopt);
  // A new opening starts afresh.
  EXPECT_EQ(Run([&](QDialog& dialog) { Press(dialog, "OKButton"); }), kEveryField);
}

}  // namespace
}  // namespace vantoscope::test

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication::setDesktopSettingsAware(false);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
