// SPDX-License-Identifier: GPL-3.0-or-later
// The panels of a desktop on X11: what they leave of a screen.
#pragma once

#include <xcb/xcb_ewmh.h>

#include <QRect>

namespace vantoscope {

/// `screen` without the edges that panels and docks reserve, in device pixels. `alone`: it is the
/// only screen, so that what the manager calls the work area is part of it. A panel that would
/// leave less than half a screen is no panel of this one.
QRect WithoutPanels(xcb_ewmh_connection_t& ewmh, xcb_window_t root, const QRect& screen,
                    bool alone);

}  // namespace vantoscope
