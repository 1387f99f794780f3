// SPDX-License-Identifier: GPL-3.0-or-later
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
  const auto inside = [](double from, double length, double start, double room) {
    const bool is_outside = from + length <= start || from >= start + room;
    const double offset =
        is_outside ? std::fmod(std::fmod(from - start, room) + room, room) : from - start;
    return start + std::max(0.0, std::min(offset, room - length));
  };
  return {QPointF(inside(window.left(), window.width(), area.left(), area.width()),
                  inside(window.top(), window.height(), area.top(), area.height())),
          window.size()};
}

}  // namespace vantoscope
