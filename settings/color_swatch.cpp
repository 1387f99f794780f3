#include "settings/color_sample.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

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

QColor QColorFrom(Color color) { return {color & 0xff, (color >> 8) & 0xff, (color >> 16) & 0xff}; }

Color ColorFrom(const QColor& color) {
  return color.red() | color.green() << 8 | color.blue() << 16;
}

void ColorSample::SetValue(Color value) {
  value_ = value;
  QPalette colored = palette();
  colored.setColor(QPalette::WindowText, QColorFrom(value));
  setPalette(colored);
  setAccessibleDescription(QColorFrom(value).name());
}

void ColorSample::paintEvent(QPaintEvent* /*event*/) {
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

void ColorButton::SetSwatch(Color color) {
  swatch_ = color;
  update();
}

void ColorButton::paintEvent(QPaintEvent* event) {
  QPushButton::paintEvent(event);
  constexpr int kInset = 4;
  QPainter painter(this);
  const QRect swatch = rect().adjusted(kInset, kInset, -kInset, -kInset);
  painter.fillRect(swatch, QColor(0x5a, 0x5f, 0x64));
  painter.fillRect(swatch.adjusted(1, 1, -1, -1), QColorFrom(swatch_));
}

}  // namespace vantoscope
