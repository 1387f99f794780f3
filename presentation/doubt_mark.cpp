// SPDX-License-Identifier: GPL-3.0-or-later
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

/// How many pieces of a pattern, one every `step`, fill the band.
int Pieces(const QRectF& band, double step) {
  return static_cast<int>(std::ceil(band.width() / step)) + 1;
}

void PaintStripes(QPainter& painter, const QRectF& band) {
  const double breadth = band.height();
  QPainterPath stripes;
  for (int i = 0; i < Pieces(band, 2 * breadth); ++i) {
    const double x = band.left() + (2 * i - 1) * breadth;
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
  for (int i = 0; i < Pieces(band, 2 * breadth); ++i) {
    const double x = band.left() + (2 * i + 1) * breadth;
    if (breadth < kRimmed) {  // a circle so small is a grey smear
      painter.fillRect(QRectF(std::floor(x), std::floor(band.top()), breadth - 1, breadth - 1),
                       kInk);
    } else {
      painter.drawEllipse(QPointF(x, band.center().y()), 0.38 * breadth, 0.38 * breadth);
    }
  }
}

void PaintChequers(QPainter& painter, const QRectF& band) {
  const double side = band.height() / 2;
  for (int i = 0; i < Pieces(band, side); ++i) {
    const double top = band.top() + (i % 2 == 0 ? 0 : side);
    painter.fillRect(QRectF(band.left() + i * side, top, side, side), kInk);
  }
}

void PaintWave(QPainter& painter, const QRectF& band) {
  const double breadth = band.height();
  if (breadth < kRimmed) {  // steps in place of a line that would be a grey smear
    constexpr int kStep = 4;
    for (int i = 0; i < Pieces(band, kStep); ++i) {
      const double top = i % 2 == 0 ? band.top() : band.bottom() - 1;
      painter.fillRect(QRectF(band.left() + i * kStep, top, kStep, 1), kInk);
    }
    return;
  }
  const double step = breadth / 8;
  QPolygonF wave;
  for (int i = 0; i < Pieces(band, step); ++i) {
    const double phase = 2 * std::numbers::pi * i / 24;  // a period is three breadths long
    wave << QPointF(band.left() + i * step, band.center().y() - 0.3 * breadth * std::sin(phase));
  }
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(kInk, std::max(1.0, 0.28 * breadth)));
  painter.drawPolyline(wave);
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
  const double half = breadth / 2;
  QPolygonF edge;
  for (int i = -1; (i - 1) * half < window.height(); ++i) {
    edge << QPointF(right + pen - (i % 2 == 0 ? half : breadth), window.top() + i * half);
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
