// SPDX-License-Identifier: GPL-3.0-or-later
#include "desktop/window_icon.h"

#include <QImage>
#include <QPixmap>
#include <cstddef>

#include "window_icon_pixels.h"

namespace vantoscope {

QIcon WindowIcon() {
  QIcon icon;
  const std::uint32_t* pixels = kPixels;
  for (const int side : kSides) {
    const QImage picture(reinterpret_cast<const uchar*>(pixels), side, side, QImage::Format_ARGB32);
    icon.addPixmap(QPixmap::fromImage(picture));
    pixels += std::ptrdiff_t{side} * side;
  }
  return icon;
}

}  // namespace vantoscope
