// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/screens.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

#include "presentation/reach.h"

namespace vantoscope {
namespace {

QRectF LogicalArea(const QScreen& screen) { return screen.geometry(); }

template <typename AreaOf>
const QScreen* NearestScreen(const QPointF& point, AreaOf area_of) {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return *std::min_element(screens.begin(), screens.end(), [&](QScreen* a, QScreen* b) {
    return DistanceTo(area_of(*a), point) < DistanceTo(area_of(*b), point);
  });
}

}  // namespace

// A screen's origin is the same in logical and in device pixels; only what is inside it scales.
QRect DeviceArea(const QScreen& screen) {
  const QRect area = screen.geometry();
  return {area.topLeft(), (QSizeF(area.size()) * screen.devicePixelRatio()).toSize()};
}

QRectF LogicalPart(const QScreen& screen, const QRect& part) {
  const QPointF origin = screen.geometry().topLeft();
  const double scale = screen.devicePixelRatio();
  return {origin + (QPointF(part.topLeft()) - origin) / scale, QSizeF(part.size()) / scale};
}

QRect DeviceFromLogical(const QRectF& rectangle) {
  const QScreen* screen = NearestScreen(rectangle.center(), LogicalArea);
  const QPointF origin = screen->geometry().topLeft();
  const double scale = screen->devicePixelRatio();
  const QPointF corner = origin + (rectangle.topLeft() - origin) * scale;
  return {qRound(corner.x()), qRound(corner.y()), qRound(rectangle.width() * scale),
          qRound(rectangle.height() * scale)};
}

QRectF LogicalFromDevice(const QRect& rectangle) {
  return LogicalPart(*NearestScreen(QRectF(rectangle).center(), DeviceArea), rectangle);
}

QSizeF LargestWindow() {
  constexpr double kLargestSide = 4096;  // unless the screens together are larger
  return QSizeF(QGuiApplication::primaryScreen()->virtualSize())
      .expandedTo({kLargestSide, kLargestSide});
}

}  // namespace vantoscope
