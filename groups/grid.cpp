// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/grid.h"

#include <algorithm>
#include <charconv>

namespace vantoscope {
namespace {

/// How many stacks of `size` fit into `room`; a group has at least one, however small the room.
int Fit(int room, int size, int gap) { return std::max(1, (room + gap) / std::max(1, size + gap)); }

}  // namespace

Grid::Grid(const GridRoom& room, int count) : room_(room), shape_(Fitting(count)) {}

int Grid::Capacity(const Shape& shape) { return shape.columns * shape.rows * shape.layers; }

Grid::Shape Grid::ShapeOf(int layers, int step) const {
  const int shift = (layers - 1) * step;
  return {.columns = Fit(room_.width, room_.window_width + shift, room_.gap),
          .rows = Fit(room_.height, room_.window_height + shift, room_.gap),
          .layers = layers,
          .step = step};
}

Grid::Shape Grid::Fitting(int count) const {
  Shape roomiest = ShapeOf(1, room_.title_bar);
  const int spare = std::min(room_.width - room_.window_width, room_.height - room_.window_height);
  for (int part = 1; part <= room_.title_bar; ++part) {
    const int step = room_.title_bar / part;
    for (int layers = 1; layers == 1 || (layers - 1) * step <= spare; ++layers) {
      const Shape shape = ShapeOf(layers, step);
      if (Capacity(shape) >= count) return shape;
      if (Capacity(shape) > Capacity(roomiest)) roomiest = shape;
    }
  }
  return roomiest;
}

Corner Grid::Of(int index) const {
  const int per_layer = shape_.columns * shape_.rows;
  const int cell = index % per_layer;
  const int shift = index / per_layer % shape_.layers * shape_.step;
  const int across = room_.window_width + (shape_.layers - 1) * shape_.step + room_.gap;
  const int down = room_.window_height + (shape_.layers - 1) * shape_.step + room_.gap;
  return {.left = room_.left + cell % shape_.columns * across + shift,
          .top = room_.top + cell / shape_.columns * down + shift};
}

std::string TextOf(const Corner& corner) {
  return std::to_string(corner.left) + "," + std::to_string(corner.top);
}

std::optional<Corner> CornerFrom(std::string_view text) {
  Corner corner;
  const char* const end = text.data() + text.size();
  const auto left = std::from_chars(text.data(), end, corner.left);
  if (left.ec != std::errc() || left.ptr == end || *left.ptr != ',') return std::nullopt;
  const auto top = std::from_chars(left.ptr + 1, end, corner.top);
  if (top.ec != std::errc() || top.ptr != end) return std::nullopt;
  return corner;
}

}  // namespace vantoscope
