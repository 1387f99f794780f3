// SPDX-License-Identifier: GPL-3.0-or-later
#include "program/group_places.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>

#include "groups/launch_order.h"
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

void TellFrame(const QMargins& frame) {
  if (frame.isNull()) return;
  const std::string text = TextOf(Corner{.left = frame.left(), .top = frame.top()}) + " " +
                           TextOf(Corner{.left = frame.right(), .top = frame.bottom()});
  setenv(kFrameVariable, text.c_str(), 1);
}

}  // namespace

QMargins TakeFrameOfGroup() {
  const char* const value = std::getenv(kFrameVariable);
  const std::string text = value != nullptr ? value : "";
  unsetenv(kFrameVariable);
  const std::size_t blank = std::min(text.find(' '), text.size());
  const auto upper = CornerFrom(std::string_view(text).substr(0, blank));
  const auto lower = CornerFrom(std::string_view(text).substr(std::min(blank + 1, text.size())));
  if (!upper || !lower) return {};
  return {upper->left, upper->top, lower->left, lower->top};
}

Corner GroupPlaces::Of(int index) {
  if (!grid_) grid_.emplace(Room(), count_());
  return grid_->Of(index);
}

GridRoom GroupPlaces::Room() {
  const auto [area, scale, frame] = form_.RoomAtPointer();
  TellFrame(frame);
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
