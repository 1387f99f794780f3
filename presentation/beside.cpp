// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/beside.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vantoscope {
namespace {

constexpr int kGap = 8;

QPoint Inside(const QPoint& corner, const QSize& window, const QRect& area) {
  const QSize spare = (area.size() - window).expandedTo({0, 0});
  const QPoint offset = corner - area.topLeft();
  return area.topLeft() + QPoint(std::clamp(offset.x(), 0, spare.width()),
                                 std::clamp(offset.y(), 0, spare.height()));
}

}  // namespace

QPoint Beside(const QRect& meter, const QSize& window, const QPoint& wanted, const QRect& area) {
  const QPoint start = Inside(wanted, window, area);
  const std::array<QPoint, 5> corners = {{
      start,
      {meter.x() + meter.width() + kGap, start.y()},
      {meter.x() - window.width() - kGap, start.y()},
      {start.x(), meter.y() + meter.height() + kGap},
      {start.x(), meter.y() - window.height() - kGap},
  }};
  const auto worth = [&](const QPoint& corner) {
    const QPoint place = Inside(corner, window, area);
    const QRect covered = QRect(place, window) & meter;
    return std::pair(covered.width() * covered.height(), (place - wanted).manhattanLength());
  };
  return Inside(*std::ranges::min_element(corners, {}, worth), window, area);
}

}  // namespace vantoscope
