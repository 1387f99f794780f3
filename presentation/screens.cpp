#include "presentation/screens.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>

namespace vantoscope {
namespace {

double DistanceTo(const QRectF& area, const QPointF& point) {
  const double x = std::max({area.left() - point.x(), 0.0, point.x() - area.right()});
  const double y = std::max({area.top() - point.y(), 0.0, point.y() - area.bottom()});
  return std::hypot(x, y);
}

QRectF LogicalArea(const QScreen& screen) { return screen.geometry(); }

/// A screen's origin is the same in logical and in device pixels; only what is inside it scales.
QRectF DeviceArea(const QScreen& screen) {
  const QRect area = screen.geometry();
  return {area.topLeft(), QSizeF(area.size()) * screen.devicePixelRatio()};
}

template <typename AreaOf>
const QScreen* NearestScreen(const QPointF& point, AreaOf area_of) {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return *std::min_element(screens.begin(), screens.end(), [&](QScreen* a, QScreen* b) {
    return DistanceTo(area_of(*a), point) < DistanceTo(area_of(*b), point);
  });
}

bool IsWithinReach(const QRectF& rectangle) {
  constexpr double kReach = 16;  // logical pixels in each direction
  const QList<QScreen*> screens = QGuiApplication::screens();
  return std::any_of(screens.begin(), screens.end(), [&](const QScreen* screen) {
    const QRectF seen = rectangle & LogicalArea(*screen);
    return seen.width() >= std::min(kReach, rectangle.width()) &&
           seen.height() >= std::min(kReach, rectangle.height());
  });
}

}  // namespace

QRect DeviceFromLogical(const QRectF& rectangle) {
  const QScreen* screen = NearestScreen(rectangle.center(), LogicalArea);
  const QPointF origin = screen->geometry().topLeft();
  const double scale = screen->devicePixelRatio();
  const QPointF corner = origin + (rectangle.topLeft() - origin) * scale;
  return {qRound(corner.x()), qRound(corner.y()), qRound(rectangle.width() * scale),
          qRound(rectangle.height() * scale)};
}

QRectF LogicalFromDevice(const QRect& rectangle) {
  const QScreen* screen = NearestScreen(QRectF(rectangle).center(), DeviceArea);
  const QPointF origin = screen->geometry().topLeft();
  const double scale = screen->devicePixelRatio();
  return {origin + (QPointF(rectangle.topLeft()) - origin) / scale,
          QSizeF(rectangle.size()) / scale};
}

QRectF WithinReach(const QRectF& rectangle) {
  if (IsWithinReach(rectangle)) return rectangle;
  const QRectF area = NearestScreen(rectangle.center(), LogicalArea)->availableGeometry();
  const double left = std::min(rectangle.left(), area.right() - rectangle.width());
  const double top = std::min(rectangle.top(), area.bottom() - rectangle.height());
  return {QPointF(std::max(area.left(), left), std::max(area.top(), top)), rectangle.size()};
}

QSizeF LargestWindow() {
  constexpr double kLargestSide = 4096;  // unless the screens together are larger
  return QSizeF(QGuiApplication::primaryScreen()->virtualSize())
      .expandedTo({kLargestSide, kLargestSide});
}

}  // namespace vantoscope
