// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/color_picker.h"

#include <QColorDialog>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <memory>

#include "presentation/look.h"

namespace vantoscope {
namespace {

constexpr QSize kLikelyFrame(12, 40);  // logical pixels

/// As a part of another window it leaves the Return key to that window.
class Colors : public QColorDialog {
 public:
  using QColorDialog::QColorDialog;

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    if (!isWindow() && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
      event->ignore();
    } else {
      QColorDialog::keyPressEvent(event);
    }
  }
};

/// The picker without its buttons in an area that scrolls, the buttons below it.
class ScrolledPicker : public QDialog {
 public:
  ScrolledPicker(QColorDialog& colors, QWidget& parent, const QSize& room) : QDialog(&parent) {
    GiveLook(*this);
    colors.setWindowFlags(Qt::Widget);
    colors.setOption(QColorDialog::NoButtons);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(&colors);
    colors.show();
    for (auto* button : colors.findChildren<QPushButton*>()) button->setAutoDefault(false);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(area);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(&colors, &QDialog::rejected, this, &QDialog::reject);  // Escape
    const int bar = area->verticalScrollBar()->sizeHint().width();
    const QMargins margins = layout->contentsMargins();
    const QSize whole(colors.sizeHint().width() + bar + margins.left() + margins.right(),
                      room.height());
    resize(whole.boundedTo(room));
  }
};

}  // namespace

QColor PickColor(const QColor& color, QWidget& parent, const QString& title) {
  const QSize room = parent.screen()->availableGeometry().size() - kLikelyFrame;
  std::unique_ptr<ScrolledPicker> box;  // outlives the picker, which leaves it
  Colors colors(color, &parent);
  colors.setOption(QColorDialog::DontUseNativeDialog);
  GiveLook(colors);
  QDialog* picker = &colors;
  if (colors.sizeHint().boundedTo(room) != colors.sizeHint()) {
    box = std::make_unique<ScrolledPicker>(colors, parent, room);
    picker = box.get();
  }
  picker->setWindowTitle(title);
  return picker->exec() == QDialog::Accepted ? colors.currentColor() : QColor();
}

}  // namespace vantoscope
