// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/reading_label.h"

#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "presentation/doubt_mark.h"
#include "presentation/reading_accessible.h"

namespace vantoscope {

ReadingLabel::ReadingLabel(QWidget* parent) : QWidget(parent) {
  InstallReadingAccessible();
  setAttribute(Qt::WA_OpaquePaintEvent);
  setObjectName("Label1");
  setFocusPolicy(Qt::TabFocus);
  // Without a name of its own the label would tell assistive technology of every new text.
  setAccessibleName("Reading");
  QFont font("Arial");
  font.setStyleHint(QFont::SansSerif);
  font.setKerning(false);  // a changing digit moves no other
  setFont(font);
}

void ReadingLabel::SetReading(const QString& text) {
  if (text == text_) return;
  text_ = text;
  ink_.reset();
  update();
}

void ReadingLabel::SetForeColor(const QColor& color) {
  if (color == fore_color_) return;
  fore_color_ = color;
  update();
}

void ReadingLabel::SetBackColor(const QColor& color) {
  if (color == back_color_) return;
  back_color_ = color;
  update();
}

void ReadingLabel::SetFontHeight(int pixels) {
  if (pixels == font().pixelSize()) return;
  QFont changed = font();
  changed.setPixelSize(std::max(1, pixels));
  ink_.reset();
  setFont(changed);
  update();
}

void ReadingLabel::SetDoubt(ReadingState state) {
  if (state == doubt_) return;
  doubt_ = state;
  update();
}

double ReadingLabel::TextLeft() const {
  constexpr double kMargin = 0.04;
  return std::round(kMargin * height());
}

const QRectF& ReadingLabel::Ink() const {
  if (!ink_) ink_ = QFontMetricsF(font(), this).tightBoundingRect(text_);
  return *ink_;
}

bool ReadingLabel::IsCut() const { return TextLeft() + Ink().right() > width(); }

// The line of the font is centred. It is a little higher than the label; where that would cut off
// the foot of a letter, such as the g of a unit, the text moves up by as much.
void ReadingLabel::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(event->rect(), back_color_);
  const QFontMetricsF metrics(font(), this);
  const double centred = (height() - metrics.height()) / 2 + metrics.ascent();
  const double lowest = height() - Ink().bottom();
  painter.setPen(fore_color_);
  painter.drawText(QPointF(TextLeft(), std::min(centred, lowest)), text_);
  PaintDoubt(painter, rect(), doubt_);
  if (IsCut()) PaintCut(painter, rect());
}

}  // namespace vantoscope
