#include "presentation/reach.h"

#include <algorithm>
#include <cmath>

namespace vantoscope {
namespace {

constexpr double kEnough = 64;

bool Shows(const QRectF& area, const QRectF& window, double title_bar) {
  QRectF part = window;
  QSizeF needed = window.size() / 3;
  if (title_bar > 0) {
    part.setHeight(title_bar);
    needed = {window.width(), title_bar / 2};
  }
  const QRectF seen = area & part;
  return seen.width() >= std::min(needed.width(), kEnough) &&
         seen.height() >= std::min(needed.height(), kEnough);
}

}  // namespace

double DistanceTo(const QRectF& area, const QPointF& point) {
  const double x = std::max({area.left() - point.x(), 0.0, point.x() - area.right()});
  const double y = std::max({area.top() - point.y(), 0.0, point.y() - area.bottom()});
  return std::hypot(x, y);
}

QRectF WithinReach(const QRectF& window, double title_bar, const QList<QRectF>& areas) {
  const auto shows = [&](const QRectF& area) { return Shows(area, window, title_bar); };
  if (areas.isEmpty() || std::ranges::any_of(areas, shows)) return window;
  const QRectF area = *std::ranges::min_element(
      areas, {}, [&](const QRectF& candidate) { return DistanceTo(candidate, window.center()); });
  const double left = std::min(window.left(), area.right() - window.width());
  const double top = std::min(window.top(), area.bottom() - window.height());
  return {QPointF(std::max(area.left(), left), std::max(area.top(), top)), window.size()};
}

}  // namespace vantoscope
