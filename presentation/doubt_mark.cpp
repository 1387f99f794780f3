#include "presentation/doubt_mark.h"

#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace vantoscope {
namespace {

constexpr QColor kInk(0x14, 0x17, 0x1a);
constexpr QColor kPaper(0xff, 0xff, 0xff);
/// The feet of the digits stand 17 % of the height above the edge.
constexpr double kBreadth = 0.13;
constexpr int kLeastBreadth = 3;
/// From here on there is room for a line of ink around the paper.
constexpr double kRimmed = 5;

void PaintStripes(QPainter& painter, const QRectF& band) {
  const double breadth = band.height();
  QPainterPath stripes;
  for (double x = band.left() - breadth; x < band.right(); x += 2 * breadth) {
    stripes.addPolygon(QPolygonF({{x, band.bottom()},
                                  {x + breadth, band.top()},
                                  {x + 2 * breadth, band.top()},
                                  {x + breadth, band.bottom()}}));
  }
  painter.fillPath(stripes, kInk);
}

void PaintDots(QPainter& painter, const QRectF& band) {
  const double breadth = band.height();
  painter.setBrush(kInk);
  for (double x = band.left() + breadth; x < band.right(); x += 2 * breadth) {
    if (breadth < kRimmed) {  // a circle so small is a grey smear
      painter.fillRect(QRectF(std::floor(x), std::floor(band.top()), breadth - 1, breadth - 1),
                       kInk);
      continue;
    }
    painter.drawEllipse(QPointF(x, band.center().y()), 0.38 * breadth, 0.38 * breadth);
  }
}

void PaintChequers(QPainter& painter, const QRectF& band) {
  const double side = band.height() / 2;
  bool lower = false;
  for (double x = band.left(); x < band.right(); x += side, lower = !lower) {
    painter.fillRect(QRectF(x, band.top() + (lower ? side : 0), side, side), kInk);
  }
}

void PaintWave(QPainter& painter, const QRectF& band) {
  const double breadth = band.height();
  if (breadth < kRimmed) {  // steps in place of a line that would be a grey smear
    bool upper = true;
    for (double x = band.left(); x < band.right(); x += 4, upper = !upper) {
      painter.fillRect(QRectF(x, upper ? band.top() : band.bottom() - 1, 4, 1), kInk);
    }
    return;
  }
  QPainterPath wave;
  const auto height = [&](double x) {
    return band.center().y() -
           0.3 * breadth * std::sin(2 * std::numbers::pi * (x - band.left()) / (3 * breadth));
  };
  wave.moveTo(band.left(), height(band.left()));
  for (double x = band.left(); x < band.right(); x += breadth / 8) wave.lineTo(x, height(x));
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(kInk, std::max(1.0, 0.28 * breadth)));
  painter.drawPath(wave);
}

}  // namespace

int MarkBreadth(int height) {
  return std::max(kLeastBreadth, static_cast<int>(std::lround(kBreadth * height)));
}

void PaintDoubt(QPainter& painter, const QRect& window, ReadingState state) {
  if (state == ReadingState::Live) return;
  const int breadth = MarkBreadth(window.height());
  QRectF band(window.left(), window.bottom() + 1 - breadth, window.width(), breadth);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setClipRect(band);
  painter.setPen(Qt::NoPen);
  painter.fillRect(band, kPaper);
  if (breadth >= kRimmed) {
    const double rim = std::max(1.0, std::round(breadth / 12.0));
    painter.fillRect(QRectF(band.left(), band.top(), band.width(), rim), kInk);
    band.adjust(0, rim, 0, 0);
  }
  switch (state) {
    case ReadingState::Old:
      PaintStripes(painter, band);
      break;
    case ReadingState::Waiting:
      PaintDots(painter, band);
      break;
    case ReadingState::Stopped:
      PaintChequers(painter, band);
      break;
    case ReadingState::Simulated:
      PaintWave(painter, band);
      break;
    case ReadingState::Live:
      break;
  }
  painter.restore();
}

void PaintCut(QPainter& painter, const QRect& window) {
  const double breadth = MarkBreadth(window.height());
  const double right = window.right() + 1;
  const double pen = std::max(1.0, breadth / 5);
  QPolygonF edge;
  bool inwards = true;
  for (double y = window.top() - breadth / 2; y < window.bottom() + 1 + breadth; y += breadth / 2) {
    edge << QPointF(right - (inwards ? breadth - pen : breadth / 2 - pen), y);
    inwards = !inwards;
  }
  QPolygonF beyond = edge;
  beyond << QPointF(right, edge.last().y()) << QPointF(right, edge.first().y());
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setClipRect(window);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kPaper);
  painter.drawPolygon(beyond);
  painter.setPen(QPen(kInk, pen, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  painter.drawPolyline(edge);
  painter.restore();
}

}  // namespace vantoscope
