// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/message_box.h"

#include <QGridLayout>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <algorithm>

#include "presentation/look.h"
#include "presentation/message_text.h"

namespace vantoscope {
namespace {

constexpr int kWidestText = 480;    // logical pixels
constexpr QSize kAround(140, 140);  // frame, margins, icon and button, at least
constexpr int kMargin = 14;
constexpr int kIconSide = 32;

/// A disc with a white sign: a cross for what has failed, else an i.
class IconPicture final : public QWidget {
 public:
  IconPicture(MessageIcon icon, QWidget* parent) : QWidget(parent), icon_(icon) {
    setFixedSize(kIconSide, kIconSide);
  }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const bool failed = icon_ == MessageIcon::Critical;
    painter.setBrush(failed ? QColor(0xb8, 0x1f, 0x24) : QColor(0x2a, 0x6f, 0xbb));
    painter.drawEllipse(rect().adjusted(1, 1, -1, -1));
    painter.translate(kIconSide / 2.0, kIconSide / 2.0);
    painter.setPen(QPen(Qt::white, 3.5, Qt::SolidLine, Qt::RoundCap));
    if (failed) {
      painter.drawLine(-6, -6, 6, 6);
      painter.drawLine(-6, 6, 6, -6);
    } else {
      painter.drawPoint(0, -8);
      painter.drawLine(0, -2, 0, 8);
    }
  }

 private:
  MessageIcon icon_;
};

}  // namespace

/// As large as the text, or with bars.
class TextArea final : public QScrollArea {
 public:
  explicit TextArea(MessageText* text) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidget(text);
    viewport()->setAutoFillBackground(false);
    text->setAutoFillBackground(false);
  }

  void Fit(const QSize& room) {
    const QSize whole = widget()->size();
    const int bar = whole.height() > room.height() ? verticalScrollBar()->sizeHint().width() : 0;
    setFixedSize(whole.width() + bar, std::min(whole.height(), room.height()));
  }
};

MessageBox::MessageBox(MessageIcon icon, const QString& text,
                       QDialogButtonBox::StandardButton button, QWidget* parent,
                       const QString& title)
    : QDialog(parent), text_(new MessageText(nullptr)) {
  GiveLook(*this);
  text_->setObjectName("text");
  text_->setFont(font());
  area_ = new TextArea(text_);
  setWindowTitle(title.isEmpty() ? "Vanto Scope" : title);
  auto* buttons = new QDialogButtonBox(button);
  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  layout->setSpacing(kMargin);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  if (icon != MessageIcon::None) layout->addWidget(new IconPicture(icon, this), 0, 0, Qt::AlignTop);
  layout->addWidget(area_, 0, 1, Qt::AlignVCenter | Qt::AlignLeft);
  layout->addWidget(buttons, 1, 0, 1, 2);
  connect(buttons, &QDialogButtonBox::clicked, this, &QDialog::accept);
  connect(new QShortcut(QKeySequence::Copy, this), &QShortcut::activated, text_,
          &MessageText::Copy);
  SetText(text);
  buttons->button(button)->setFocus();
}

void MessageBox::SetText(const QString& text) {
  if (text == text_->text() && !text.isEmpty()) return;
  const QSize room = screen()->availableGeometry().size() - kAround;
  text_->SetText(text, std::min(kWidestText, room.width()));
  area_->Fit(room);
}

void ShowMessageBox(QWidget* parent, MessageIcon icon, std::string_view text,
                    std::string_view title) {
  const auto shown = [](std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
  };
  MessageBox box(icon, shown(text), QDialogButtonBox::Ok, parent, shown(title));
  // A box of start-up has no window to stand above, and other meters stay on top.
  if (parent == nullptr) box.setWindowFlag(Qt::WindowStaysOnTopHint);
  box.exec();
}

}  // namespace vantoscope
