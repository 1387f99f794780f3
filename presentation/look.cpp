// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/look.h"

#include <QAbstractButton>
#include <QApplication>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOptionFocusRect>
#include <QTranslator>
#include <algorithm>
#include <cmath>

#include "meter/units.h"

namespace vantoscope {
namespace {

constexpr QColor kWindow(0xef, 0xef, 0xef);
constexpr QColor kRing(0x2a, 0x6f, 0xbb);
constexpr double kRingWidth = 2;
constexpr double kCornerRadius = 2.5;
constexpr int kIndicatorSide = 13;  // odd, so that it has a middle pixel

/// The toolkit's own words are American.
class BritishWords final : public QTranslator {
 public:
  using QTranslator::QTranslator;

  QString translate(const char* /*context*/, const char* source, const char* /*comment*/,
                    int /*count*/) const override {
    QString text = QString::fromUtf8(source);
    const QString american = text;
    text.replace("olor", "olour");
    return text == american ? QString() : text;  // empty: leave it as it is
  }
  [[nodiscard]] bool isEmpty() const override { return false; }
};

QColor Mixed(const QColor& one, const QColor& other, double part) {
  const auto channel = [part](int from, int to) {
    return static_cast<int>(std::lround(from + (to - from) * part));
  };
  return {channel(one.red(), other.red()), channel(one.green(), other.green()),
          channel(one.blue(), other.blue())};
}

QPen RingPen() { return {kRing, kRingWidth}; }

QPen LinePen(const QStyleOption& option) {
  if (option.state.testFlag(QStyle::State_HasFocus)) return RingPen();
  return {LineColor(option.palette), 1};
}

QRectF Inside(const QRect& rect, const QPen& pen) {
  const double half = pen.widthF() / 2;
  return QRectF(rect).adjusted(half, half, -half, -half);
}

void DrawOutline(const QStyleOption& option, const QPen& pen, QPainter& painter) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(pen);
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(Inside(option.rect, pen), kCornerRadius, kCornerRadius);
  painter.restore();
}

void DrawLine(const QStyleOption& option, QPainter& painter) {
  DrawOutline(option, LinePen(option), painter);
}

/// The square of a check box or the circle of an option, and what stands in it when it is set.
void DrawIndicator(const QStyleOption& option, QPainter& painter, bool round) {
  const QPen pen = LinePen(option);
  const QRectF shape = Inside(option.rect, pen);
  const QColor ink = option.palette.color(QPalette::Text);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(pen);
  painter.setBrush(option.palette.color(
      option.state.testFlag(QStyle::State_Sunken) ? QPalette::Midlight : QPalette::Base));
  if (round) {
    painter.drawEllipse(shape);
  } else {
    painter.drawRoundedRect(shape, 1, 1);
  }
  if (option.state.testFlag(QStyle::State_On)) {
    const QPointF middle = QRectF(option.rect).center();
    const double unit = option.rect.width() / 13.0;
    if (round) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(ink);
      painter.drawEllipse(middle, 3 * unit, 3 * unit);
    } else {
      painter.setPen(QPen(ink, 2 * unit, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
      painter.drawPolyline(QPolygonF{middle + QPointF(-3, 0) * unit,
                                     middle + QPointF(-1, 2.5) * unit,
                                     middle + QPointF(3, -2.5) * unit});
    }
  }
  painter.restore();
}

class Look final : public QProxyStyle {
 public:
  Look() : QProxyStyle("fusion") {}

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* data) const override {
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
    return QProxyStyle::styleHint(hint, option, widget, data);
  }

  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    switch (metric) {
      case PM_IndicatorWidth:
      case PM_IndicatorHeight:
      case PM_ExclusiveIndicatorWidth:
      case PM_ExclusiveIndicatorHeight:
        return kIndicatorSide;
      default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
  }

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    switch (element) {
      case PE_IndicatorCheckBox:
      case PE_IndicatorRadioButton:
        DrawIndicator(*option, *painter, element == PE_IndicatorRadioButton);
        return;
      case PE_FrameFocusRect:  // other controls have the ring as their outline
        if (qobject_cast<const QAbstractButton*>(widget) == nullptr)
          DrawOutline(*option, RingPen(), *painter);
        return;
      case PE_FrameLineEdit:
      case PE_PanelButtonCommand:
      case PE_Frame:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        DrawLine(*option, *painter);
        return;
      default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
  }

  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (control == CC_SpinBox) DrawLine(*option, *painter);
  }
};

// Relative luminance.
double Linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& color) {
  return 0.2126 * Linear(color.redF()) + 0.7152 * Linear(color.greenF()) +
         0.0722 * Linear(color.blueF());
}

// The same on light and dark desktops, like the colours of the meter itself.
QPalette Colors() {
  QPalette palette(kWindow);
  palette.setColor(QPalette::Highlight, kRing);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  return palette;
}

}  // namespace

QFont TextFont(const QWidget& widget, double size) {
  const double device_points = widget.logicalDpiY() * kTwipsPerPixel / kTwipsPerInch;
  QFont font("Arial");
  font.setStyleHint(QFont::SansSerif);
  font.setPointSizeF(size / device_points);
  return font;
}

QColor LineColor(const QPalette& palette) {
  constexpr double kMiddle = 0.5;
  return Mixed(palette.color(QPalette::Window), palette.color(QPalette::WindowText), kMiddle);
}

void GiveLook(QWidget& window) {
  window.setFont(TextFont(window));
  if (dynamic_cast<Look*>(QApplication::style()) != nullptr) return;
  auto* look = new Look;
  look->setParent(qApp);
  QApplication::setStyle(look);
  QApplication::setPalette(Colors());
  QApplication::setFont(window.font());  // of menus and tool tips too
  static BritishWords words;
  QCoreApplication::installTranslator(&words);
}

double Contrast(const QColor& one, const QColor& other) {
  const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
  return (lighter + 0.05) / (darker + 0.05);
}

}  // namespace vantoscope
