// SPDX-License-Identifier: GPL-3.0-or-later
// The places of a group's windows: cells of a grid, row by row, and where one grid is full further
// layers of it, each one title bar lower and to the right. Knows no screen; all lengths are pixels
// of one kind.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vantoscope {

/// The room for a group, and what all of its windows have in common.
struct GridRoom {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int window_width = 0;  ///< with the frame
  int window_height = 0;
  int gap = 0;  ///< between windows that do not lie above each other
  int title_bar = 0;
};

/// The outer corner of a window.
struct Corner {
  int left = 0;
  int top = 0;

  bool operator==(const Corner&) const = default;
};

class Grid {
 public:
  /// For `count` windows. As few layers as hold them all, with room between the windows of a layer
  /// for the shifted ones of the others, so that every title bar shows. Where not even that holds
  /// them all, a layer is shifted by no more than a part of the title bar.
  Grid(const GridRoom& room, int count);

  /// `index` counts from 0.
  [[nodiscard]] Corner Of(int index) const;

 private:
  struct Shape {
    int columns = 1;
    int rows = 1;
    int layers = 1;
    int step = 0;  ///< of a layer, in both directions
  };
  [[nodiscard]] static int Capacity(const Shape& shape);
  [[nodiscard]] Shape ShapeOf(int layers, int step) const;
  [[nodiscard]] Shape Fitting(int count) const;

  GridRoom room_;
  Shape shape_;
};

/// A corner as text, and back; nothing where the text is none.
std::string TextOf(const Corner& corner);
std::optional<Corner> CornerFrom(std::string_view text);

}  // namespace vantoscope
