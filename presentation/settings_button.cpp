// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/settings_button.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <numbers>

namespace vantoscope {
namespace {

constexpr int kTeeth = 8;
constexpr double kTipRadius = 9.5;
constexpr double kRootRadius = 7.2;
constexpr double kHoleRadius = 3.3;
constexpr double kCornerRadius = 6;

/// A cogwheel around the origin, in logical pixels. Each tooth is a little narrower at its tip.
QPainterPath Cogwheel() {
  QPainterPath path;
  constexpr double kStep = 2 * std::numbers::pi / kTeeth;
  const auto corner = [&](int tooth, double part, double radius) {
    const double angle = (tooth + part) * kStep;
    return QPointF(radius * std::cos(angle), radius * std::sin(angle));
  };
  path.moveTo(corner(0, -0.27, kRootRadius));
  for (int tooth = 0; tooth < kTeeth; ++tooth) {
    path.lineTo(corner(tooth, -0.17, kTipRadius));
    path.lineTo(corner(tooth, 0.17, kTipRadius));
    path.lineTo(corner(tooth, 0.27, kRootRadius));
    path.lineTo(corner(tooth + 1, -0.27, kRootRadius));
  }
  path.closeSubpath();
  path.addEllipse(QPointF(0, 0), kHoleRadius, kHoleRadius);
  return path;
}

}  // namespace

SettingsButton::SettingsButton(QWidget* parent) : QPushButton(parent) {
  setAccessibleName("Settings");
  setToolTip("Settings (Ctrl+,)");
  setAutoDefault(false);
  setFocusPolicy(Qt::TabFocus);
  setCursor(Qt::ArrowCursor);
}

// A light plate with a dark rim carries a dark wheel, so it stands out from every colour below it.
void SettingsButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor plate = isDown()       ? QColor(0xc9, 0xd6, 0xe4)
                       : underMouse() ? QColor(0xe3, 0xee, 0xfa)
                                      : QColor(0xf6, 0xf7, 0xf8);
  const bool marked = hasFocus() || underMouse();
  painter.setPen(
      QPen(marked ? QColor(0x2a, 0x6f, 0xbb) : QColor(0x6b, 0x72, 0x7a), hasFocus() ? 2 : 1));
  painter.setBrush(plate);
  const double inset = hasFocus() ? 1 : 0.5;
  painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), kCornerRadius,
                          kCornerRadius);
  painter.translate(QRectF(rect()).center());
  painter.fillPath(Cogwheel(), QColor(0x37, 0x3d, 0x44));
}

}  // namespace vantoscope
