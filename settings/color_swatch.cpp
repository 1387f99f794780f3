// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/color_swatch.h"

#include <QPainter>

#include "presentation/color.h"
#include "presentation/look.h"

namespace vantoscope {
namespace {

constexpr double kLegible = 3;  // contrast of bold text against what lies behind it

/// Around letters that would fade into what lies behind them.
QColor OutlineFor(const QColor& color) {
  const QColor dark(0x2b, 0x2f, 0x33);
  const QColor light(0xf4, 0xf5, 0xf6);
  return Contrast(color, dark) > Contrast(color, light) ? dark : light;
}

}  // namespace

void ColorSwatch::SetValue(Color value) {
  value_ = value;
  QPalette colored = palette();
  colored.setColor(QPalette::WindowText, QColorFrom(value));
  setPalette(colored);
  setAccessibleDescription(QColorFrom(value).name());
}

void ColorSwatch::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const QColor text_color = QColorFrom(value_);
  const QColor background = palette().color(QPalette::Window);
  const QRect text_box = rect().adjusted(kOutline, 0, -kOutline, 0);
  const auto draw = [&](const QPoint& offset) {
    painter.drawText(text_box.translated(offset),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text());
  };
  if (Contrast(text_color, background) < kLegible) {
    painter.setPen(OutlineFor(text_color));
    for (int x = -1; x <= 1; ++x) {
      for (int y = -1; y <= 1; ++y) draw({x, y});
    }
  }
  painter.setPen(text_color);
  draw({0, 0});
}

void ColorButton::SetValue(Color value) {
  value_ = value;
  update();
}

void ColorButton::paintEvent(QPaintEvent* event) {
  QPushButton::paintEvent(event);
  constexpr int kInset = 4;
  QPainter painter(this);
  const QRect area = rect().adjusted(kInset, kInset, -kInset, -kInset);
  painter.fillRect(area, QColor(0x5a, 0x5f, 0x64));
  painter.fillRect(area.adjusted(1, 1, -1, -1), QColorFrom(value_));
}

}  // namespace vantoscope
