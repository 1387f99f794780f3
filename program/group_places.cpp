// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/group_places.h"

#include <algorithm>
#include <cmath>

#include "settings/settings_table.h"
#include "text/numbers.h"

namespace vantoscope {
namespace {

constexpr double kGap = 8;              // logical pixels
constexpr double kLikelyTitleBar = 28;  // the same, where no frame is known

int DevicePixels(double logical, double scale) {
  return static_cast<int>(std::ceil(logical * scale));
}

/// The size of a meter that has no settings yet, which does not depend on its frame.
int DefaultSize(SettingsKey key, double scale) {
  return DevicePixels(PixelsFromTwips({NumberFromText(EntryOf(key).fallback)}), scale);
}

}  // namespace

Corner GroupPlaces::Of(int index) {
  if (!grid_) grid_.emplace(Room(), count_());
  return grid_->Of(index);
}

GridRoom GroupPlaces::Room() {
  const auto [area, scale, frame] = form_.RoomAtPointer();
  // The reading keeps a pixel at least, however thick the frame is.
  const int narrowest = frame.left() + frame.right() + 1;
  const int lowest = frame.top() + frame.bottom() + 1;
  return {.left = area.left(),
          .top = area.top(),
          .width = area.width(),
          .height = area.height(),
          .window_width = std::max(DefaultSize(SettingsKey::WindowWidth, scale), narrowest),
          .window_height = std::max(DefaultSize(SettingsKey::WindowHeight, scale), lowest),
          .gap = DevicePixels(kGap, scale),
          .title_bar = frame.top() > 0 ? frame.top() : DevicePixels(kLikelyTitleBar, scale)};
}

}  // namespace vantoscope
