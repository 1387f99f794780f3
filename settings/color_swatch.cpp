// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings/color_swatch.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

#include "presentation/color.h"

namespace vantoscope {
namespace {

// Relative luminance and contrast ratio as the Web Content Accessibility Guidelines 2.1 define
// them.
double Linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& color) {
  return 0.2126 * Linear(color.redF()) + 0.7152 * Linear(color.greenF()) +
         0.0722 * Linear(color.blueF());
}

double Contrast(const QColor& one, const QColor& other) {
  const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

constexpr double kLegible = 3;  // contrast of bold text against what lies behind it

QColor PlateFor(const QColor& background) {
  constexpr double kMidLuminance = 0.18;
  return Luminance(background) > kMidLuminance ? QColor(0x2b, 0x2f, 0x33)
                                               : QColor(0xf4, 0xf5, 0xf6);
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
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor text_color = QColorFrom(value_);
  const QColor background = palette().color(QPalette::Window);
  const int text_width = fontMetrics().horizontalAdvance(text());
  const QRect text_box = rect().adjusted(kPlateMargin, 0, -kPlateMargin, 0);
  if (Contrast(text_color, background) < kLegible) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(PlateFor(background));
    const int plate_width = std::min(width(), text_width + 2 * kPlateMargin);
    painter.drawRoundedRect(QRect(0, 0, plate_width, height()), 3, 3);
  }
  painter.setPen(text_color);
  painter.drawText(text_box, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text());
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
