// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/dialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QShortcut>
#include <QStyleOptionButton>
#include <algorithm>
#include <utility>
#include <vector>

#include "meter/units.h"
#include "presentation/beside.h"
#include "presentation/color.h"
#include "presentation/look.h"
#include "settings/color_picker.h"
#include "settings/color_swatch.h"
#include "settings/dialog_controls.h"
#include "settings/equation_field.h"
#include "settings/kept_text.h"
#include "settings/open_address.h"

namespace vantoscope {
namespace {

struct ColorRow {
  const char* button;
  const char* swatch;
  const char* title;  // of the picker
  Color DialogFields::*field;
};

constexpr auto kColors = std::to_array<ColorRow>({
    {"Command1", "FGLabel", "Foreground colour", &DialogFields::FGLabel},
    {"Command2", "BGLabel", "Background colour", &DialogFields::BGLabel},
    {"Command3", "HLLabel", "High limit colour", &DialogFields::HLLabel},
    {"Command4", "LLLabel", "Low limit colour", &DialogFields::LLLabel},
});

struct TextRow {
  const char* name;
  std::string DialogFields::*field;
};

constexpr auto kTexts = std::to_array<TextRow>({
    {"HLText", &DialogFields::HLText},
    {"LLText", &DialogFields::LLText},
    {"ChnIdxText", &DialogFields::ChnIdxText},
    {"CalText", &DialogFields::CalText},
    {"CalUnitText", &DialogFields::CalUnitText},
    {"WSText", &DialogFields::WSText},
    {"TransparencyText", &DialogFields::TransparencyText},
});

struct CheckRow {
  const char* name;
  bool DialogFields::*field;
};

constexpr auto kChecks = std::to_array<CheckRow>({
    {"EnableAlarmCheck", &DialogFields::EnableAlarmCheck},
    {"ShowUnitCheck", &DialogFields::ShowUnitCheck},
});

struct OptionRow {
  const char* name;
  std::int16_t method;
};

constexpr auto kOptions = std::to_array<OptionRow>({
    {"NoneOption", kMethodNone},
    {"MinOption", kMethodMin},
    {"MaxOption", kMethodMax},
    {"AveOption", kMethodAve},
    {"RMSOption", kMethodRms},
    {"ACRMSOption", kMethodAcRms},
    {"CalOption", kMethodCalc},
});

struct BuddyRow {
  const char* label;
  const char* text;
};

constexpr auto kBuddies = std::to_array<BuddyRow>({
    {"Label7", "WSText"},
    {"Label1", "ChnIdxText"},
    {"Label8", "TransparencyText"},
    {"Label5", "HLText"},
    {"Label6", "LLText"},
});

// A group box whose title stands in its top line, so that the whole rectangle belongs to it.
class Frame : public QGroupBox {
 public:
  using QGroupBox::QGroupBox;

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    constexpr int kTitleLeft = 8;
    constexpr int kGap = 3;  // between the line and the title on either side
    constexpr double kRadius = 3;
    const QFontMetrics metrics = fontMetrics();
    const QRect title_box(kTitleLeft, 0, metrics.horizontalAdvance(title()), metrics.height());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(LineColor(palette()));
    const double line_top = title_box.center().y();
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, line_top + 0.5, -0.5, -0.5), kRadius,
                            kRadius);
    painter.fillRect(title_box.adjusted(-kGap, 0, kGap, 0), palette().color(QPalette::Window));
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(title_box, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextDontClip, title());
  }
};

int Pixels(int twips) { return static_cast<int>(PixelsFromTwips({static_cast<double>(twips)})); }

constexpr QColor kShownOnly(0x60, 0x60, 0x60);  // text that can be read and not edited

// Text fields are two pixels higher than the labels beside them; this sets both texts on one line.
constexpr int kLabelDrop = 2;

// Without a caption it stands on the line of the field beside it.
class OptionOfField : public QRadioButton {
 public:
  using QRadioButton::QRadioButton;

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QStyleOptionButton option;
    initStyleOption(&option);
    option.rect.translate(0, kLabelDrop / 2);
    QPainter painter(this);
    style()->drawControl(QStyle::CE_RadioButton, &option, &painter, this);
  }
};

QWidget* NewWidget(const DialogControl& control, QWidget* parent) {
  const QString caption = QString::fromUtf8(control.caption);
  switch (control.kind) {
    case ControlKind::Frame:
      return new Frame(caption, parent);
    case ControlKind::Button:
      return new QPushButton(caption, parent);
    case ControlKind::ColorButton:
      return new ColorButton(parent);
    case ControlKind::Label: {
      auto* label = new QLabel(caption, parent);
      label->setContentsMargins(0, kLabelDrop, 0, 0);
      return label;
    }
    case ControlKind::Swatch:
      return new ColorSwatch(caption, parent);
    case ControlKind::TextField:
      return new QLineEdit(parent);
    case ControlKind::EquationField:
      return new EquationField(parent);
    case ControlKind::Option:
      return caption.isEmpty() ? new OptionOfField(parent) : new QRadioButton(caption, parent);
    case ControlKind::CheckBox:
      return new QCheckBox(caption, parent);
  }
  Q_UNREACHABLE();
}

// Width that a control leaves to its caption, logical pixels.
int CaptionRoom(const DialogControl& control, const QWidget& widget) {
  QStyleOptionButton option;
  option.initFrom(&widget);
  const QStyle& style = *widget.style();
  switch (control.kind) {
    case ControlKind::Button:
      return style.subElementRect(QStyle::SE_PushButtonContents, &option, &widget).width();
    case ControlKind::Option:
      return style.subElementRect(QStyle::SE_RadioButtonContents, &option, &widget).width();
    case ControlKind::CheckBox:
      return style.subElementRect(QStyle::SE_CheckBoxContents, &option, &widget).width();
    case ControlKind::Swatch:
      return widget.width() - 2 * ColorSwatch::kOutline;
    default:
      return widget.width();
  }
}

QFont CaptionFont(const DialogControl& control, const QFont& base) {
  QFont font = base;
  font.setBold(control.kind == ControlKind::Swatch);
  return font;
}

}  // namespace

Dialog::Dialog(QWidget* form, bool above_all)
    : QDialog(form, Qt::Tool), options_(new QButtonGroup(this)) {
  GiveLook(*this);
  setWindowFlag(Qt::WindowStaysOnTopHint, above_all);
  setObjectName("Dialog");
  setWindowTitle(kDialogTitle);
  setFixedSize(Pixels(kDialogWidth), Pixels(kDialogHeight));
  BuildControls();
  FitFont();
  OrderTabs();
  Wire();
  PlaceOnScreen();
}

template <typename Widget>
Widget& Dialog::Control(const char* name) const {
  auto* widget = findChild<Widget*>(name);
  Q_ASSERT(widget);
  return *widget;
}

void Dialog::BuildControls() {
  for (const DialogControl& control : kDialogControls) {
    auto* frame = findChild<QWidget*>(control.parent);
    QWidget* widget = NewWidget(control, frame ? frame : this);
    widget->setObjectName(control.name);
    widget->setGeometry(Pixels(control.left), Pixels(control.top), Pixels(control.width),
                        Pixels(control.height));
    widget->setAccessibleName(QString::fromUtf8(control.spoken));
    widget->setToolTip(QString::fromUtf8(control.hint));
    if (auto* button = qobject_cast<QPushButton*>(widget)) button->setAutoDefault(false);
    if (auto* text = qobject_cast<QLineEdit*>(widget)) {
      const bool unit = text->objectName() == "CalUnitText";
      TakeOnlyWhatIsKept(*text, unit ? FrontBlank::KeptAsNoBreakSpace : FrontBlank::Dropped);
    }
  }
  auto& index = Control<QLineEdit>("ChnIdxText");
  index.setEnabled(false);
  QPalette readable = index.palette();
  readable.setColor(QPalette::Disabled, QPalette::Text, kShownOnly);
  index.setPalette(readable);
  for (const BuddyRow& row : kBuddies) {
    Control<QLabel>(row.label).setBuddy(&Control<QLineEdit>(row.text));
  }
  for (const OptionRow& row : kOptions) {
    options_->addButton(&Control<QRadioButton>(row.name), row.method);
  }
}

// The rectangles are fixed, so it is the font that gives way: one size for the whole dialog, at
// which the widest caption still fits.
void Dialog::FitFont() {
  constexpr double kSmallestSize = 5;
  constexpr double kStep = 0.25;
  QFont base;
  const auto fits = [&](double size) {
    base = TextFont(*this, size);
    return std::ranges::all_of(kDialogControls, [&](const DialogControl& control) {
      if (*control.caption == '\0') return true;
      const QFontMetricsF metrics(CaptionFont(control, base), this);
      return metrics.horizontalAdvance(control.caption) <=
             CaptionRoom(control, Control<QWidget>(control.name));
    });
  };
  double size = kTextSize;
  while (!fits(size) && size > kSmallestSize) size -= kStep;
  setFont(base);
  for (const DialogControl& control : kDialogControls) {
    if (control.kind == ControlKind::Swatch) {
      Control<QWidget>(control.name).setFont(CaptionFont(control, base));
    }
  }
}

void Dialog::OrderTabs() {
  std::vector<DialogControl> in_order(kDialogControls.begin(), kDialogControls.end());
  std::ranges::sort(in_order, {}, &DialogControl::tab);
  std::erase_if(in_order, [&](const DialogControl& control) {
    return Control<QWidget>(control.name).focusPolicy() == Qt::NoFocus;
  });
  for (std::size_t i = 1; i < in_order.size(); ++i) {
    setTabOrder(&Control<QWidget>(in_order[i - 1].name), &Control<QWidget>(in_order[i].name));
  }
  Control<QWidget>(in_order.front().name).setFocus();
}

void Dialog::Wire() {
  // The Tab key stops once in the group, at the option that is set; arrows do the rest.
  connect(options_, &QButtonGroup::buttonToggled, this, [](QAbstractButton* option, bool set) {
    option->setFocusPolicy(set ? Qt::StrongFocus : Qt::ClickFocus);
  });
  connect(&Control<QPushButton>("OKButton"), &QPushButton::clicked, this, &QDialog::accept);
  connect(&Control<QPushButton>("Command5"), &QPushButton::clicked, this, &QDialog::reject);
  connect(&Control<QPushButton>("Command6"), &QPushButton::clicked, this,
          [] { OpenAddress(HelpPage()); });
  connect(new QShortcut(QKeySequence("F1"), this), &QShortcut::activated, this,
          [] { OpenAddress(HelpPage()); });
  for (const TextRow& row : kTexts) {
    // A text that an assistive program puts in counts like one that is typed.
    auto& text = Control<QLineEdit>(row.name);
    connect(&text, &QLineEdit::textChanged, &text, [&text] { text.setModified(true); });
  }
  for (const ColorRow& row : kColors) {
    connect(&Control<ColorButton>(row.button), &QPushButton::clicked, this,
            [this, &row] { PickColor(row.button, row.swatch, row.title); });
  }
}

void Dialog::Fill(const DialogFields& fields) {
  filled_ = fields;
  for (const ColorRow& row : kColors) SetColor(row.button, row.swatch, fields.*row.field);
  for (const TextRow& row : kTexts) {
    auto& text = Control<QLineEdit>(row.name);
    text.setText(QString::fromStdString(fields.*row.field));
    text.setModified(false);
    text.setCursorPosition(0);
  }
  for (const CheckRow& row : kChecks) Control<QCheckBox>(row.name).setChecked(fields.*row.field);
  for (QAbstractButton* option : options_->buttons()) {
    option->setFocusPolicy(fields.Option ? Qt::ClickFocus : Qt::StrongFocus);
  }
  if (fields.Option) options_->button(*fields.Option)->setChecked(true);
}

void Dialog::HelpWithEquation(EquationHelp& help) {
  Control<EquationField>("CalText").SetAnswers(
      {.findings = [&](const std::string& text) { return help.Findings(text); },
       .value_now = [this, &help] { return help.ValueNow(Fields()); },
       .channels = help.Channels()});
}

DialogFields Dialog::Fields() const {
  DialogFields fields = filled_;
  for (const ColorRow& row : kColors) fields.*row.field = Control<ColorSwatch>(row.swatch).Value();
  for (const TextRow& row : kTexts) {
    const auto& text = Control<QLineEdit>(row.name);
    if (text.isModified()) fields.*row.field = text.text().toStdString();
  }
  for (const CheckRow& row : kChecks) fields.*row.field = Control<QCheckBox>(row.name).isChecked();
  const int chosen = options_->checkedId();
  if (chosen >= 0) fields.Option = static_cast<std::int16_t>(chosen);
  return fields;
}

void Dialog::SetColor(const char* button, const char* swatch, Color color) {
  Control<ColorSwatch>(swatch).SetValue(color);
  Control<ColorButton>(button).SetValue(color);
}

void Dialog::PickColor(const char* button, const char* swatch, const QString& title) {
  const QColor picked =
      vantoscope::PickColor(QColorFrom(Control<ColorSwatch>(swatch).Value()), *this, title);
  if (picked.isValid()) SetColor(button, swatch, ColorFrom(picked));
}

// QDialog would close at Escape and press a default button at Enter; this window does neither.
void Dialog::keyPressEvent(QKeyEvent* event) { event->ignore(); }

// At the design position of the screen that the meter is on, or as near to it as the meter and the
// whole dialog are in sight.
void Dialog::PlaceOnScreen() {
  constexpr QSize kFrame(12, 40);  // about; it is not known before the window is shown
  const QRect area = screen()->availableGeometry();
  const QPoint design = area.topLeft() + QPoint(Pixels(kDialogLeft), Pixels(kDialogTop));
  move(Beside(parentWidget()->frameGeometry(), size() + kFrame, design, area));
}

ShowDialog ModalDialog(QWidget& form, std::function<std::unique_ptr<EquationHelp>()> make_help) {
  return [&form, make_help = std::move(make_help)](
             const DialogFields& fields) -> std::optional<DialogFields> {
    const std::unique_ptr<EquationHelp> help = make_help ? make_help() : nullptr;
    // Only as the meter itself: others of its group, which stay on top too, must not cover it.
    Dialog dialog(&form, fields.Check4);
    dialog.Fill(fields);
    if (help) dialog.HelpWithEquation(*help);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return dialog.Fields();
  };
}

}  // namespace vantoscope
